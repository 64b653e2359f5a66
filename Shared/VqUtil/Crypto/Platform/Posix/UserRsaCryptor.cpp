#include "VqUtil/Crypto/UserRsaCryptor.h"

#include "VqUtil/Crypto/Platform/Posix/OpenSslRsaCryptor.h"
#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Locks/ProcessGuard.h"

#include <QFile>
#include <algorithm>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <optional>
#include <unistd.h>

namespace Velquor::Util {

namespace {

constexpr int keyBits = userKeyBlockSize * 8;
constexpr qint64 maximumKeyFileSize = 64LL * 1024;
constexpr int lockTimeoutMs = 20000; // Generating a key takes less, even on a slow machine.

using Bio = std::unique_ptr<BIO, decltype(&BIO_free)>;

EvpKey owned(EVP_PKEY* key) {
    return EvpKey(key, &EVP_PKEY_free);
}

// Binds the key file to machine and user, so that the secrets in a copied home folder cannot be read.
// None when the machine cannot be asked now: another passphrase would make a good key look damaged.
std::optional<SecretBytes> passphrase() {
    QFile machineId(QStringLiteral("/etc/machine-id"));
    const bool isOpen = machineId.open(QIODevice::ReadOnly);
    if (!isOpen && machineId.exists())
        return std::nullopt;
    QByteArray text = isOpen ? machineId.read(256).trimmed() : QByteArray("no machine id");
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

QByteArray toPem(const EvpKey& key, const SecretBytes& phrase) {
    const Bio bio(BIO_new(BIO_s_mem()), &BIO_free);
    if (!bio
        || PEM_write_bio_PKCS8PrivateKey(bio.get(), key.get(), EVP_aes_256_cbc(), phrase.data(), phrase.size(), nullptr, nullptr)
               != 1)
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

EvpKey fromPem(const QByteArray& pem, SecretBytes& phrase) {
    if (pem.isEmpty())
        return {};
    const Bio bio(BIO_new_mem_buf(pem.constData(), pem.size()), &BIO_free);
    EvpKey key = owned(bio ? PEM_read_bio_PrivateKey(bio.get(), nullptr, &handOverPassphrase, &phrase) : nullptr);
    // OpenSSL's error queue is per thread. The next TLS connection of this thread would report an error left in it.
    ERR_clear_error();
    return key && EVP_PKEY_base_id(key.get()) == EVP_PKEY_RSA && EVP_PKEY_bits(key.get()) >= keyBits ? key : EvpKey();
}

using AtomicFile::ReadResult;

// A damaged key cannot decrypt anything. The file is kept under another name for support. False when it cannot be moved: then no
// new key can be written.
bool setDamagedAside(const QString& path, Log::ILogger& logger) {
    const QString aside = AtomicFile::setAside(path);
    if (aside.isEmpty()) {
        logger.error(QStringLiteral("The user's key %1 cannot be read and cannot be set aside").arg(path));
        return false;
    }
    logger.warning(
        QStringLiteral(
            "The user's key cannot be read and was set aside as %1. Secrets encrypted with it are lost; the user needs to sign in again.")
            .arg(aside));
    return true;
}

EvpKey create(const QString& path, const SecretBytes& phrase, Log::ILogger& logger) {
    EvpKey key = generate();
    const QByteArray pem = key ? toPem(key, phrase) : QByteArray();
    const Result<void> written = pem.isEmpty() ? Failure{} : AtomicFile::write(path, pem);
    if (written)
        return key;
    logger.error(QStringLiteral("Failed to create the user's key %1. %2").arg(path, written.reason()));
    return {};
}

EvpKey readOrCreate(const QString& path, SecretBytes& phrase, Log::ILogger& logger) {
    const ReadResult file = AtomicFile::readOwn(path, maximumKeyFileSize);
    // A file that cannot be read at present (permissions, too many open files) may hold a good key. Do not replace it. One that
    // is too large holds none.
    if (file.status == ReadResult::Status::Failed && !file.isTooLarge) {
        logger.error(QStringLiteral("Failed to read the user's key %1. %2").arg(path, file.error));
        return {};
    }
    EvpKey key = fromPem(file.data, phrase);
    if (key || (file.status != ReadResult::Status::Missing && !setDamagedAside(path, logger)))
        return key;
    return create(path, phrase, logger);
}

// Several processes may start at once on a new machine or with a damaged key. Under the lock one of them creates the key, and the
// others read it.
EvpKey readOrCreateAlone(const QString& folder, const QString& path, SecretBytes& phrase, Log::ILogger& logger) {
    ProcessGuard guard(QStringLiteral("UserKey"), folder);
    if (guard.acquire(lockTimeoutMs) != ProcessGuard::Result::Acquired) {
        logger.error(QStringLiteral("Failed to lock the folder of the user's key: %1. %2").arg(folder, guard.errorText()));
        return {};
    }
    AtomicFile::removeStaleTemporaries(path);
    EvpKey key = readOrCreate(path, phrase, logger);
    guard.release();
    return key;
}

} // namespace

std::shared_ptr<IRsaCryptor> openUserRsaCryptor(const QString& folder, const std::shared_ptr<Log::ILogger>& logger) {
    if (const Result<void> made = ensureOwnerOnlyFolder(folder); !made) {
        logger->error(QStringLiteral("Failed to create the folder of the user's key: %1. %2").arg(folder, made.reason()));
        return std::make_shared<OpenSslRsaCryptor>(EvpKey());
    }
    const QString path = folder + QStringLiteral("/UserKey.pem");
    // Without the lock first: an existing key is never changed in place.
    std::optional<SecretBytes> phrase = passphrase();
    if (!phrase) {
        logger->error(QStringLiteral("Failed to read the identity of the machine, which the user's key %1 needs").arg(path));
        return std::make_shared<OpenSslRsaCryptor>(EvpKey());
    }
    EvpKey key = fromPem(AtomicFile::readOwn(path, maximumKeyFileSize).data, *phrase);
    if (!key)
        key = readOrCreateAlone(folder, path, *phrase, *logger);
    return std::make_shared<OpenSslRsaCryptor>(key);
}

} // namespace Velquor::Util
