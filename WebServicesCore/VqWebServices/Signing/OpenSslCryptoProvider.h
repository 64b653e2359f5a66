#pragma once

#include "Signing/ICryptoProvider.h"

namespace Velquor::OAuth {

/// HMAC-SHA1 by OpenSSL. Thread: any; each thread keeps a context of its own.
class OpenSslCryptoProvider : public ICryptoProvider {
public:
    int hmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) override;
};

} // namespace Velquor::OAuth
