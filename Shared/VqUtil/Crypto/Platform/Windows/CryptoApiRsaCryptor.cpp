#include "VqUtil/Crypto/Platform/Windows/CryptoApiRsaCryptor.h"

#include <QMutexLocker>
#include <algorithm>

namespace Velquor::Util {

namespace {

constexpr int oaepOverhead = 2 * 20 + 2;

BYTE* bytes(char* data) {
    return reinterpret_cast<BYTE*>(data);
}

} // namespace

CryptoApiRsaCryptor::CryptoApiRsaCryptor(CryptoProvider provider, CryptoKey key)
    : m_provider(std::move(provider))
    , m_key(std::move(key))
    , m_blockSize(sizeOf(m_key)) {}

CryptoApiRsaCryptor::~CryptoApiRsaCryptor() = default;

int CryptoApiRsaCryptor::sizeOf(const CryptoKey& key) {
    DWORD bits = 0;
    DWORD size = sizeof bits;
    return key.isValid() && ::CryptGetKeyParam(key.get(), KP_BLOCKLEN, reinterpret_cast<BYTE*>(&bits), &size, 0)
               ? static_cast<int>(bits / 8)
               : 0;
}

int CryptoApiRsaCryptor::blockSize() const {
    return m_blockSize;
}

int CryptoApiRsaCryptor::maximumClearSize() const {
    return std::max(m_blockSize - oaepOverhead, 0);
}

// CryptoAPI uses the reverse byte order.
QByteArray CryptoApiRsaCryptor::encryptBlock(const QByteArray& clear) {
    if (m_blockSize == 0 || clear.size() > maximumClearSize())
        return {};
    SecretBytes buffer{QByteArray(m_blockSize, '\0')};
    std::copy(clear.begin(), clear.end(), buffer.writable());
    DWORD size = static_cast<DWORD>(clear.size());
    const QMutexLocker lock(&m_mutex);
    if (!::CryptEncrypt(m_key.get(), 0, TRUE, CRYPT_OAEP, bytes(buffer.writable()), &size, static_cast<DWORD>(m_blockSize))
        || size != static_cast<DWORD>(m_blockSize))
        return {};
    QByteArray block(buffer.data(), m_blockSize);
    std::reverse(block.begin(), block.end());
    return block;
}

SecretBytes CryptoApiRsaCryptor::decryptBlock(const QByteArray& block) {
    if (m_blockSize == 0 || block.size() != m_blockSize)
        return {};
    SecretBytes buffer{QByteArray(m_blockSize, '\0')};
    std::reverse_copy(block.begin(), block.end(), buffer.writable());
    DWORD size = static_cast<DWORD>(m_blockSize);
    const QMutexLocker lock(&m_mutex);
    if (!::CryptDecrypt(m_key.get(), 0, TRUE, CRYPT_OAEP, bytes(buffer.writable()), &size)
        || size > static_cast<DWORD>(maximumClearSize()))
        return {};
    return SecretBytes(QByteArray(buffer.data(), static_cast<int>(size)));
}

} // namespace Velquor::Util
