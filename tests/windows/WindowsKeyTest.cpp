#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Crypto/Platform/Windows/CryptoApiHandle.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <openssl/evp.h>
#include <openssl/rsa.h>

using namespace Velquor;
using namespace Velquor::Util;

namespace {

using EvpKey = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;

QByteArray copyOf(const SecretBytes& secret) {
    return QByteArray(secret.data(), secret.size());
}

// The public half of the key in the user's container, as OpenSSL takes it.
EvpKey publicKey() {
    CryptoProvider provider;
    CryptoKey key;
    BYTE blob[1024];
    BYTE der[1024];
    DWORD blobSize = sizeof blob;
    DWORD derSize = sizeof der;
    if (!::CryptAcquireContextW(provider.receive(), L"VqWebServices", nullptr, PROV_RSA_AES, CRYPT_SILENT)
        || !::CryptGetUserKey(provider.get(), AT_KEYEXCHANGE, key.receive())
        || !::CryptExportKey(key.get(), 0, PUBLICKEYBLOB, 0, blob, &blobSize)
        || !::CryptEncodeObject(X509_ASN_ENCODING, RSA_CSP_PUBLICKEYBLOB, blob, der, &derSize))
        return EvpKey(nullptr, &EVP_PKEY_free);
    const unsigned char* position = der;
    return EvpKey(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &position, static_cast<long>(derSize)), &EVP_PKEY_free);
}

QByteArray encryptElsewhere(EVP_PKEY* key, const QByteArray& clear, int padding) {
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new(key, nullptr), &EVP_PKEY_CTX_free);
    QByteArray block(userKeyBlockSize, '\0');
    size_t size = static_cast<size_t>(block.size());
    const bool done =
        EVP_PKEY_encrypt_init(context.get()) == 1 && EVP_PKEY_CTX_set_rsa_padding(context.get(), padding) == 1
        && EVP_PKEY_encrypt(context.get(), reinterpret_cast<unsigned char*>(block.data()), &size,
                            reinterpret_cast<const unsigned char*>(clear.constData()), static_cast<size_t>(clear.size()))
               == 1;
    return done ? block : QByteArray();
}

} // namespace

/// The user's key in its CryptoAPI container.
class WindowsKeyTest : public QObject {
    Q_OBJECT

private slots:
    void blocksOfOtherProgramsAreRead() {
        const TestKit::Rows row([&](int size, int padding, bool isRead) {
            const auto rsa = openUserRsaCryptor(QString(), m_logger);
            const EvpKey key = publicKey();
            QVERIFY(key);
            QCOMPARE(EVP_PKEY_bits(key.get()), userKeyBlockSize * 8);
            const QByteArray clear(size, 's');
            const QByteArray block = encryptElsewhere(key.get(), clear, padding);
            QVERIFY(!block.isEmpty());
            QCOMPARE(copyOf(rsa->decryptBlock(block)), isRead ? clear : QByteArray());
        });
        row("one byte", 1, RSA_PKCS1_OAEP_PADDING, true);
        row("the longest", userKeyBlockSize - 42, RSA_PKCS1_OAEP_PADDING, true);
        row("the older padding", 20, RSA_PKCS1_PADDING, false);
    }

    void oneKeyForAllThatStartAtOnce() {
        QCOMPARE(TestKit::openAnotherUserKey(m_logger)->blockSize(), userKeyBlockSize);
        for (int round = 0; round < 3; ++round) {
            TestKit::forgetUserKey();
            std::vector<std::shared_ptr<IRsaCryptor>> opened(8);
            std::vector<std::thread> threads;
            for (auto& cryptor : opened)
                threads.emplace_back([&cryptor, this] { cryptor = openUserRsaCryptor(QString(), m_logger); });
            for (auto& thread : threads)
                thread.join();
            const QByteArray block = opened.front()->encryptBlock("secret");
            for (const auto& cryptor : opened)
                QCOMPARE(copyOf(cryptor->decryptBlock(block)), QByteArray("secret"));
        }
        QCOMPARE(m_logger->texts(), QStringList());
    }

private:
    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
};

QTEST_GUILESS_MAIN(WindowsKeyTest)
#include "WindowsKeyTest.moc"
