#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Crypto/ICryptor.h"
#include "VqUtil/Crypto/IRsaCryptor.h"

#include <memory>

namespace Velquor::Util {

/// Encrypts texts at rest with the user's RSA key.
///
/// The form, before Base64: one version byte, then either
///  - 1: one RSAES-OAEP block that holds a short text, or
///  - 2: one RSAES-OAEP block that holds a fresh AES-256-GCM key, then the text sealed with it.
/// The RSA padding and the GCM tag authenticate. The version byte needs no protection: neither form is valid as the other.
/// Thread: any. Owner: shared by its users.
class UserCryptor : public ICryptor {
public:
    UserCryptor(std::shared_ptr<IRsaCryptor> rsa, std::shared_ptr<Log::ILogger> logger);

    [[nodiscard]] QByteArray encrypt(const QByteArray& clear) override;
    [[nodiscard]] SecretBytes decrypt(const QByteArray& text) override;
    [[nodiscard]] bool isUsable() override { return m_rsa->blockSize() > 0; }

private:
    [[nodiscard]] QByteArray encryptLong(const QByteArray& clear);
    [[nodiscard]] SecretBytes decryptForm(const QByteArray& form);

    const std::shared_ptr<IRsaCryptor> m_rsa;
    const std::shared_ptr<Log::ILogger> m_logger;
};

} // namespace Velquor::Util
