#pragma once

#include "VqUtil/Crypto/IRsaCryptor.h"

#include <memory>
#include <openssl/evp.h>

namespace Velquor::Util {

using EvpKey = std::shared_ptr<EVP_PKEY>;

/// RSAES-OAEP (SHA-1, MGF1) with an OpenSSL key. Thread: any; every operation has a context of its own.
class OpenSslRsaCryptor : public IRsaCryptor {
public:
    explicit OpenSslRsaCryptor(EvpKey key);

    [[nodiscard]] int blockSize() const override;
    [[nodiscard]] int maximumClearSize() const override;
    [[nodiscard]] QByteArray encryptBlock(const QByteArray& clear) override;
    [[nodiscard]] SecretBytes decryptBlock(const QByteArray& block) override;

private:
    const EvpKey m_key;
};

} // namespace Velquor::Util
