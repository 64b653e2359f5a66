#include "TestKit/Platform/SystemFacts.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "VqUtil/Crypto/AeadCipher.h"
#include "VqUtil/Crypto/CachingCryptor.h"
#include "VqUtil/Crypto/ProcessSeal.h"
#include "VqUtil/Crypto/ProtectedText.h"
#include "VqUtil/Crypto/UserCryptor.h"
#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <openssl/err.h>

using namespace Velquor;
using namespace Velquor::Util;

namespace {

/// Counts what reaches it.
class CountingCryptor final : public ICryptor {
public:
    QByteArray encrypt(const QByteArray& clear) override {
        ++encryptions;
        return clear.isEmpty() ? QByteArray() : "<" + clear.toBase64() + ">";
    }
    SecretBytes decrypt(const QByteArray& text) override {
        ++decryptions;
        return text.startsWith('<') ? SecretBytes(QByteArray::fromBase64(text.mid(1, text.size() - 2))) : SecretBytes();
    }
    std::atomic<int> encryptions{0};
    std::atomic<int> decryptions{0};
};

QByteArray copyOf(const SecretBytes& secret) {
    return QByteArray(secret.data(), secret.size());
}

QByteArray flipped(QByteArray bytes, int bit) {
    bytes.data()[bit / 8] = static_cast<char>(bytes.at(bit / 8) ^ (1 << (bit % 8)));
    return bytes;
}

} // namespace

class CryptorTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_rsa = openUserRsaCryptor(m_folder.path(), m_logger);
        QCOMPARE(m_rsa->blockSize(), userKeyBlockSize);
        QCOMPARE(m_rsa->maximumClearSize(), userKeyBlockSize - 42);
        m_cryptor = std::make_unique<UserCryptor>(m_rsa, m_logger);
    }

    void everyLengthSurvivesEncryption() {
        const TestKit::Rows row([&](int size, bool isShort) {
            QByteArray clear(size, '\0');
            for (int index = 0; index < size; ++index)
                clear.data()[index] = static_cast<char>(index * 7);
            const QByteArray text = m_cryptor->encrypt(clear);
            QCOMPARE(copyOf(m_cryptor->decrypt(text)), clear);
            QCOMPARE(QByteArray::fromBase64(text).size() == 1 + userKeyBlockSize, isShort);
            // Equal secrets do not show: padding, key and nonce are fresh each time.
            QVERIFY(m_cryptor->encrypt(clear) != text);
            QVERIFY(m_cryptor->encrypt(QByteArray()).isEmpty());
        });
        const int longest = userKeyBlockSize - 42;
        row("the shortest", 1, true);
        row("one below the limit", longest - 1, true);
        row("at the limit", longest, true);
        row("one beyond it", longest + 1, false);
        row("1 MiB", 1024 * 1024, false);
    }

    void aFlippedBitIsRefused() {
        const TestKit::Rows row([&](int size, int step) {
            const QByteArray blob = QByteArray::fromBase64(m_cryptor->encrypt(QByteArray(size, 's')));
            for (int bit = 0; bit < blob.size() * 8; bit += step) {
                verifyRefused(flipped(blob, bit).toBase64(), qPrintable(QString::number(bit)));
                if (QTest::currentTestFailed())
                    return;
            }
        });
        row("every bit of a short one", 30, 1);
        row("a sample of a long one", 2000, 61);
    }

    // The text itself, too: Base64 has bits that mean nothing.
    void aChangedCharacterIsRefused() {
        const QByteArray text = m_cryptor->encrypt("secret");
        for (int bit = 0; bit < text.size() * 8; bit += bit < (text.size() - 8) * 8 ? 13 : 1) {
            verifyRefused(flipped(text, bit), qPrintable(QString::number(bit)));
            if (QTest::currentTestFailed())
                return;
        }
    }

    void cutAndForeignTextsAreRefused() {
        const TestKit::Rows row([&](const QByteArray& text) { verifyRefused(text, "refused"); });
        UserCryptor other(TestKit::openAnotherUserKey(m_logger), m_logger);
        for (const int size : {10, 1000}) {
            const QByteArray text = m_cryptor->encrypt(QByteArray(size, 's'));
            for (const int cut : {1, 2, 3, 4, int(text.size()) / 2, int(text.size()) - 1}) {
                row(QByteArray::number(size) + " without the last " + QByteArray::number(cut), text.left(text.size() - cut));
                row(QByteArray::number(size) + " without the first " + QByteArray::number(cut), text.mid(cut));
            }
            row("longer", text + "AAAA");
            row("line end", text + '\n');
            row("of another key", other.encrypt(QByteArray(size, 's')));
        }
        row("no Base64", "not base 64!");
        row("NUL", QByteArray(400, '\0'));
        row("zeros", QByteArray(257, '\0').toBase64());
        row("short form of zeros", QByteArray("\1" + QByteArray(256, '\0')).toBase64());
        row("long form of zeros", QByteArray("\2" + QByteArray(300, '\0')).toBase64());
        row("long form without text", QByteArray("\2" + QByteArray(256, '\1')).toBase64());
        row("8 MiB", QByteArray(8 * 1024 * 1024, 'A'));
        m_logger->clear();
        QVERIFY(m_cryptor->decrypt(QByteArray()).isEmpty()); // no secret was stored: nothing went wrong
        QVERIFY(m_logger->texts().isEmpty());
    }

    void nothingIsEncryptedWithoutAKey() {
        if (!TestKit::userKeysAreFiles())
            QSKIP("The user's key does not lie in a folder here");
        QVERIFY(QFile(m_folder.filePath("file")).open(QIODevice::WriteOnly));
        m_logger->clear();
        UserCryptor cryptor(openUserRsaCryptor(m_folder.filePath("file/below"), m_logger), m_logger);
        QCOMPARE(m_logger->texts(Log::Level::Error).size(), 1);
        QVERIFY(cryptor.encrypt("secret").isEmpty());
        QVERIFY(cryptor.encrypt(QByteArray(1000, 's')).isEmpty());
        QVERIFY(cryptor.decrypt(m_cryptor->encrypt("secret")).isEmpty());
        QCOMPARE(m_logger->texts(Log::Level::Error).size(), 4);
    }

    void changedSealsOfAProcessAreRefused() {
        const SecretBytes key = AeadCipher::newKey();
        const QByteArray sealed = AeadCipher::seal(key, "secret");
        for (int bit = 0; bit < sealed.size() * 8; ++bit)
            QVERIFY2(AeadCipher::open(key, flipped(sealed, bit)).isEmpty(), qPrintable(QString::number(bit)));
        for (int size = 0; size < sealed.size(); ++size)
            QVERIFY2(AeadCipher::open(key, sealed.left(size)).isEmpty(), qPrintable(QString::number(size)));
        QVERIFY(ProcessSeal::instance().open(sealed).isEmpty());
        QCOMPARE(copyOf(AeadCipher::open(key, sealed)), QByteArray("secret"));
    }

    void theCacheDecryptsATextOnce() {
        const auto inner = std::make_shared<CountingCryptor>();
        CachingCryptor cache(inner);
        const QByteArray written = cache.encrypt("written here");
        for (int round = 0; round < 3; ++round) {
            QCOMPARE(copyOf(cache.decrypt(written)), QByteArray("written here"));
            QCOMPARE(copyOf(cache.decrypt("<cmVhZA==>")), QByteArray("read"));
        }
        QCOMPARE(inner->encryptions.load(), 1);
        QCOMPARE(inner->decryptions.load(), 1);
        // A failure may pass (the key becomes readable), so it is not remembered; nor is the empty text asked for.
        QVERIFY(cache.decrypt("damaged").isEmpty() && cache.decrypt("damaged").isEmpty()
                && cache.decrypt(QByteArray()).isEmpty());
        QCOMPARE(inner->decryptions.load(), 3);
    }

    void theCacheKeepsNoLargeTexts() {
        const auto inner = std::make_shared<CountingCryptor>();
        CachingCryptor cache(inner);
        const QByteArray small = cache.encrypt("small");
        const QByteArray huge = cache.encrypt(QByteArray(2 * 1024 * 1024, 'h'));
        QCOMPARE(cache.decrypt(huge).size(), 2 * 1024 * 1024);
        QCOMPARE(inner->decryptions.load(), 1); // too large to be kept
        QCOMPARE(cache.decrypt(small).size(), 5);
        QCOMPARE(inner->decryptions.load(), 1); // and drove nothing out
    }

    void theCacheServesManyThreads() {
        const auto inner = std::make_shared<CountingCryptor>();
        CachingCryptor cache(inner);
        std::atomic<int> wrong{0};
        TestKit::Threads threads(8, [&](int thread) {
            for (int number = 0; number < 100; ++number) {
                const QByteArray clear = QByteArray::number(number % 20) + " secret";
                if (copyOf(cache.decrypt((number + thread) % 2 ? cache.encrypt(clear) : "<" + clear.toBase64() + ">")) != clear)
                    ++wrong;
            }
        });
        threads.join();
        QCOMPARE(wrong.load(), 0);
    }

    void copiesOfProtectedTextsAreIndependent() {
        const QString secret = QStringLiteral("p\u00e4ss \U0001F511");
        ProtectedText text(secret);
        const ProtectedText copy(text);
        QVERIFY(copy == text && copy == ProtectedText(secret) && copy != ProtectedText("other"));
        text.set(QString());
        QVERIFY(text.isEmpty() && text.toText().isEmpty() && text == ProtectedText() && text != copy);
        QCOMPARE(copy.toText(), secret);
        SecretBytes taken = copy.reveal();
        const SecretBytes moved = std::move(taken);
        QCOMPARE(copyOf(moved), secret.toUtf8());
    }

private:
    // Every failure is one error line without the secret, and no trace in OpenSSL's queue.
    void verifyRefused(const QByteArray& text, const char* what) {
        m_logger->clear();
        QVERIFY2(m_cryptor->decrypt(text).isEmpty(), what);
        QVERIFY2(m_logger->texts(Log::Level::Error).size() == 1 && m_logger->texts().size() == 1, what);
        QVERIFY2(ERR_peek_error() == 0, what);
    }

    std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
    std::shared_ptr<IRsaCryptor> m_rsa;
    std::unique_ptr<UserCryptor> m_cryptor;
    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(CryptorTest)
#include "CryptorTest.moc"
