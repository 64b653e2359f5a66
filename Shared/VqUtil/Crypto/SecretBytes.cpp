#include "VqUtil/Crypto/SecretBytes.h"

#include <openssl/crypto.h>
#include <utility>

namespace Velquor::Util {

SecretBytes::SecretBytes(QByteArray&& bytes)
    : m_bytes(std::move(bytes)) {
    m_bytes.detach();
}

SecretBytes::SecretBytes(SecretBytes&& other) noexcept
    : m_bytes(std::move(other.m_bytes)) {
    other.m_bytes = QByteArray();
}

SecretBytes& SecretBytes::operator=(SecretBytes&& other) noexcept {
    std::swap(m_bytes, other.m_bytes);
    return *this;
}

SecretBytes::~SecretBytes() {
    if (!m_bytes.isEmpty())
        OPENSSL_cleanse(m_bytes.data(), static_cast<size_t>(m_bytes.size()));
}

} // namespace Velquor::Util
