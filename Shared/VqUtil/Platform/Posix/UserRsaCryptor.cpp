#include "VqUtil/Platform/UserRsaCryptor.h"

#include "VqUtil/Platform/FileAccess.h"
#include "VqUtil/Platform/Posix/OpenSslRsaCryptor.h"

#include <QDir>
#include <QFile>
#include <QUuid>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <unistd.h>

namespace Velquor::Util {

namespace {

constexpr int keyBits = userKeyBlockSize * 8;
constexpr qint64 maximumKeyFileSize = 64 * 1024;

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;

EvpKey owned(EVP_PKEY* key) { return EvpKey(key, &EVP_PKEY_free); }

// Ties the key file to machine and user, so that a copied home folder carries no usable secrets.
SecretBytes passphrase() {
    QFile machineId(QStringLiteral("/etc/machine-id"));
    QByteArray text = machineId.open(QIODevice::ReadOnly) ? machineId.read(256).trimmed() : QByteArray("no machine id");
    text += ':' + QByteArray::number(static_cast<qulonglong>(::getuid()));
    return SecretBytes(std::move(text));
}

EvpKey generate() {
    const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(EVP_PKEY_CTX_new_id(EVP_PKEY_RSA, nullptr),
                                                                              &EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    if (context && EVP_PKEY_keygen_init(context.get()) == 1 && EVP_PKEY_CTX_set_rsa_keygen_bits(context.get(), keyBits) == 1)
        EVP_PKEY_keygen(context.get(), &key);
    return owned(key);
}

QByteArray toPem(const EvpKey& key) {
    const Bio bio(BIO_new(BIO_s_mem()), &BIO_free);
    const SecretBytes phrase = passphrase();
    if (!bio
        || PEM_write_bio_PKCS8PrivateKey(bio.get(), key.get(), EVP_aes_256_cbc(), phrase.data(), phrase.size(), nullptr,
                                         nullptr) != 1)
        return {};
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio.get(), &data);
    return QByteArray(data, static_cast<int>(size));
}

int handOverPassphrase(char* buffer, int size, int, void* phrase) {
    const auto* const secret = static_cast<const SecretBytes*>(phrase);
    if (secret->size() > size)
        return -1;
    std::copy_n(secret->data(), secret->size(), buffer);
    return secret->size();
}

EvpKey fromPem(const QByteArray& pem) {
    const Bio bio(BIO_new_mem_buf(pem.constData(), pem.size()), &BIO_free);
    SecretBytes phrase = passphrase();
    EvpKey key = owned(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, &handOverPassphrase, &phrase) : nullptr);
    return key && EVP_PKEY_base_id(key.get()) == EVP_PKEY_RSA && EVP_PKEY_bits(key.get()) >= keyBits ? key : EvpKey();
}

EvpKey read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > maximumKeyFileSize)
        return {};
    return fromPem(file.readAll());
}

// Several processes may start at once: whoever links its key into place first wins, the others take that one.
EvpKey create(const QString& path) {
    const EvpKey key = generate();
    const QByteArray pem = key ? toPem(key) : QByteArray();
    const QString temporary = path + QLatin1Char('.') + QUuid::createUuid().toString(QUuid::Id128);
    if (pem.isEmpty() || !writeOwnerOnlyFile(temporary, pem))
        return {};
    const bool placed = ::link(QFile::encodeName(temporary).constData(), QFile::encodeName(path).constData()) == 0;
    QFile::remove(temporary);
    return placed ? key : read(path);
}

} // namespace

std::shared_ptr<IRsaCryptor> openUserRsaCryptor(const QString& folder, const std::shared_ptr<Log::ILogger>& logger) {
    const QString path = folder + QStringLiteral("/UserKey.pem");
    EvpKey key;
    if (!ensureOwnerOnlyFolder(folder)) {
        logger->error(QStringLiteral("Failed to create the folder of the user's key: %1").arg(folder));
        return std::make_shared<OpenSslRsaCryptor>(key);
    }
    key = read(path);
    if (!key && QFile::exists(path)) {
        // Nothing can be read with it any more; kept for support, out of the way of a new key.
        const QString aside = path + QStringLiteral(".damaged");
        QFile::remove(aside);
        QFile::rename(path, aside);
        logger->warning(QStringLiteral("The user's key cannot be read and was set aside as %1. Secrets encrypted with it are lost; "
                                       "the user needs to sign in again.").arg(aside));
    }
    if (!key)
        key = create(path);
    if (!key)
        logger->error(QStringLiteral("Failed to create the user's key %1").arg(path));
    return std::make_shared<OpenSslRsaCryptor>(key);
}

} // namespace Velquor::Util
