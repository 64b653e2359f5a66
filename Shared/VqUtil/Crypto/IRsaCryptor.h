#pragma once

#include "VqUtil/Crypto/SecretBytes.h"

namespace Velquor::Util {

/// Encrypts and decrypts single blocks with the user's RSA key pair, which the platform's store keeps.
///
/// Thread: any. Owner: the cryptor that uses it. Errors: an empty result and one log line.
class IRsaCryptor {
public:
    virtual ~IRsaCryptor() = default;

    /// The size of the key's modulus in bytes; 0 when there is no usable key.
    [[nodiscard]] virtual int blockSize() const = 0;

    /// The longest clear text of one encryption, in bytes (RFC 8017, section 7.1.1: block size - 42 with SHA-1 digests).
    [[nodiscard]] virtual int maximumClearSize() const = 0;

    /// RSAES-OAEP encryption of at most `maximumClearSize()` bytes; the result is one block.
    [[nodiscard]] virtual QByteArray encryptBlock(const QByteArray& clear) = 0;

    [[nodiscard]] virtual SecretBytes decryptBlock(const QByteArray& block) = 0;
};

} // namespace Velquor::Util
