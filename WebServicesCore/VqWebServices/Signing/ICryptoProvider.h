#pragma once

#include <QByteArray>

namespace Velquor::OAuth {

/// Computes the keyed digests of signatures. Thread: any.
class ICryptoProvider {
public:
    virtual ~ICryptoProvider() = default;

    /// HMAC-SHA1 (RFC 2104): 20 bytes into `output`, whose room `outputLength` tells; it becomes the length written. 0 on
    /// failure.
    virtual int hmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) = 0;
};

} // namespace Velquor::OAuth
