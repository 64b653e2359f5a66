#pragma once

#include "VqUtil/Crypto/IRsaCryptor.h"
#include "VqUtil/Crypto/Platform/Windows/CryptoApiHandle.h"

#include <QMutex>

namespace Velquor::Util {

/// RSAES-OAEP (SHA-1, MGF1) over a key of a CryptoAPI container; blocks are in the byte order of RFC 8017.
///
/// Thread: any; the system's key objects take one operation at a time, so they are taken in turn.
class CryptoApiRsaCryptor : public IRsaCryptor {
public:
    /// Without a valid key, a cryptor that does nothing.
    CryptoApiRsaCryptor(CryptoProvider provider, CryptoKey key);
    ~CryptoApiRsaCryptor() override;

    [[nodiscard]] int blockSize() const override;
    [[nodiscard]] int maximumClearSize() const override;
    [[nodiscard]] QByteArray encryptBlock(const QByteArray& clear) override;
    [[nodiscard]] SecretBytes decryptBlock(const QByteArray& block) override;

    /// The size of a key's modulus in bytes; 0 when it cannot be told.
    [[nodiscard]] static int sizeOf(const CryptoKey& key);

private:
    QMutex m_mutex;
    const CryptoProvider m_provider;
    const CryptoKey m_key; // Goes before its provider.
    const int m_blockSize;
};

} // namespace Velquor::Util
