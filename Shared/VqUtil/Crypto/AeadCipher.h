#pragma once

#include "VqUtil/Crypto/SecretBytes.h"

#include <QByteArray>
#include <memory>

struct evp_cipher_ctx_st;

namespace Velquor::Util {

/// AES-256-GCM (NIST SP 800-38D) with a key of 32 bytes: encryption with authentication.
///
/// The sealed form is nonce (12 bytes) + cipher text + tag (16 bytes); the nonce is random for each call.
/// Thread: any. Errors: an empty result and no log line, since only the caller knows what the bytes are.
namespace AeadCipher {

constexpr int keySize = 32;
constexpr int nonceSize = 12;
constexpr int tagSize = 16;

[[nodiscard]] SecretBytes newKey();
[[nodiscard]] QByteArray seal(const SecretBytes& key, const QByteArray& clear);
[[nodiscard]] SecretBytes open(const SecretBytes& key, const QByteArray& sealed);

/// Opens many texts of one key, which is prepared once: that takes longer than to open a short text. What was prepared is wiped
/// at the end. Thread: one.
class Opener {
public:
    explicit Opener(const SecretBytes& key);
    [[nodiscard]] SecretBytes open(const QByteArray& sealed) const;

private:
    const std::shared_ptr<evp_cipher_ctx_st> m_context; ///< Null when the key cannot be used.
};

} // namespace AeadCipher

} // namespace Velquor::Util
