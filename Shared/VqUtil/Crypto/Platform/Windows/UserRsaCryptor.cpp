#include "VqUtil/Crypto/UserRsaCryptor.h"

#include "VqUtil/Crypto/Platform/Windows/CryptoApiRsaCryptor.h"
#include "VqUtil/Locks/ProcessGuard.h"
#include "VqUtil/Platform/Windows/SystemErrorText.h"

#include <QDir>

namespace Velquor::Util {

namespace {

constexpr wchar_t containerName[] = L"VqWebServices";
constexpr DWORD newKeyFlags = static_cast<DWORD>(userKeyBlockSize * 8) << 16;
constexpr int lockTimeoutMs = 20000; // Generating a key takes less, even on a slow machine.

/// The result of opening the container: the key, or the error code.
struct OpenedKey {
    CryptoProvider provider;
    CryptoKey key;
    DWORD error = ERROR_SUCCESS;

    [[nodiscard]] bool isMissing() const {
        return error == static_cast<DWORD>(NTE_BAD_KEYSET) || error == static_cast<DWORD>(NTE_NO_KEY);
    }

    // The container exists, but the system can no longer decrypt it, as after a reset of the user's password.
    [[nodiscard]] bool isDamaged() const {
        return error == static_cast<DWORD>(NTE_KEYSET_ENTRY_BAD) || error == static_cast<DWORD>(NTE_BAD_KEY_STATE)
               || error == static_cast<DWORD>(NTE_BAD_DATA) || error == static_cast<DWORD>(NTE_BAD_LEN);
    }
};

DWORD openContainer(CryptoProvider& provider, DWORD flags) {
    const BOOL done =
        ::CryptAcquireContextW(provider.receive(), containerName, MS_ENH_RSA_AES_PROV_W, PROV_RSA_AES, flags | CRYPT_SILENT);
    const DWORD code = ::GetLastError();
    return done ? ERROR_SUCCESS : code;
}

OpenedKey openKey() {
    OpenedKey opened;
    opened.error = openContainer(opened.provider, 0);
    if (opened.error != ERROR_SUCCESS)
        return opened;
    const BOOL done = ::CryptGetUserKey(opened.provider.get(), AT_KEYEXCHANGE, opened.key.receive());
    const DWORD code = ::GetLastError();
    opened.error = done ? ERROR_SUCCESS : code;
    if (done && CryptoApiRsaCryptor::sizeOf(opened.key) != userKeyBlockSize)
        opened.error = static_cast<DWORD>(NTE_BAD_LEN);
    return opened;
}

OpenedKey createKey() {
    OpenedKey created;
    created.error = openContainer(created.provider, CRYPT_NEWKEYSET);
    if (created.error == static_cast<DWORD>(NTE_EXISTS))
        created.error = openContainer(created.provider, 0);
    if (created.error != ERROR_SUCCESS)
        return created;
    // Without CRYPT_EXPORTABLE, so that the private key can never leave the container.
    const BOOL done = ::CryptGenKey(created.provider.get(), AT_KEYEXCHANGE, newKeyFlags, created.key.receive());
    const DWORD code = ::GetLastError();
    if (!done) {
        created.error = code;
        return created;
    }
    // Open it again: this process must use the key that the other processes will read.
    created = OpenedKey();
    return openKey();
}

void deleteDamagedKey(Log::ILogger& logger) {
    logger.warning(
        QStringLiteral("The user's key cannot be read and is replaced by a new one. Secrets encrypted with it are lost; "
                       "the user needs to sign in again."));
    // This call deletes and opens nothing, so there is no handle to release.
    HCRYPTPROV nothing = 0;
    ::CryptAcquireContextW(&nothing, containerName, MS_ENH_RSA_AES_PROV_W, PROV_RSA_AES, CRYPT_DELETEKEYSET | CRYPT_SILENT);
}

// Several processes may start at once. Under the lock one of them creates the key, and the others open it.
OpenedKey openOrCreateAlone(Log::ILogger& logger) {
    ProcessGuard guard(QStringLiteral("UserKey"), QDir::rootPath());
    const ProcessGuard::Result result = guard.acquire(lockTimeoutMs);
    if (result == ProcessGuard::Result::TimedOut || result == ProcessGuard::Result::Failed) {
        OpenedKey refused;
        refused.error = ERROR_TIMEOUT;
        return refused;
    }
    OpenedKey opened = openKey();
    if (opened.isDamaged()) {
        opened = OpenedKey();
        deleteDamagedKey(logger);
        opened.error = static_cast<DWORD>(NTE_BAD_KEYSET);
    }
    if (opened.isMissing())
        opened = createKey();
    guard.release();
    return opened;
}

} // namespace

std::shared_ptr<IRsaCryptor> openUserRsaCryptor(const QString&, const std::shared_ptr<Log::ILogger>& logger) {
    OpenedKey opened = openKey();
    if (opened.isMissing() || opened.isDamaged())
        opened = openOrCreateAlone(*logger);
    if (opened.error != ERROR_SUCCESS) {
        logger->error(QStringLiteral("Failed to open the user's key in container %1. %2")
                          .arg(QString::fromWCharArray(containerName), systemErrorText(opened.error)));
        opened.key.reset();
    }
    return std::make_shared<CryptoApiRsaCryptor>(std::move(opened.provider), std::move(opened.key));
}

} // namespace Velquor::Util
