#pragma once

#include "VqUtil/Crypto/IRsaCryptor.h"
#include "VqUtil/Crypto/Platform/Windows/CryptoApiHandle.h"

#include <QMutex>

namespace Velquor::Util {

/// RSAES-OAEP (SHA-1, MGF1) with a key of a CryptoAPI container. Blocks are in the byte order of RFC 8017.
///
/// Thread: any; a mutex serializes the operations, since a key object of the system allows one at a time.
class CryptoApiRsaCryptor : public IRsaCryptor {
public:
    /// Without a valid key, every operation gives an empty result.
    CryptoApiRsaCryptor(CryptoProvider provider, CryptoKey key);
    ~CryptoApiRsaCryptor() override;

    [[nodiscard]] int blockSize() const override;
    [[nodiscard]] int maximumClearSize() const override;
    [[nodiscard]] QByteArray encryptBlock(const QByteArray& clear) override;
    [[nodiscard]] SecretBytes decryptBlock(const QByteArray& block) override;

    /// The size of a key's modulus in bytes; 0 when unknown.
    [[nodiscard]] static int sizeOf(const CryptoKey& key);

private:
    QMutex m_mutex;
    const CryptoProvider m_provider;
    const CryptoKey m_key; // After the provider, so that it is destroyed first.
    const int m_blockSize;
};

} // namespace Velquor::Util
