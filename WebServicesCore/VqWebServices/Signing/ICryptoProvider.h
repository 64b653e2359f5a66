#pragma once

#include <QByteArray>

namespace Velquor::OAuth {

/// Computes the keyed digests of signatures. Thread: any.
class ICryptoProvider {
public:
    virtual ~ICryptoProvider() = default;

    /// HMAC-SHA1 (RFC 2104): writes 20 bytes to `output`. `outputLength` is the size of the buffer and becomes the length
    /// written. Returns 0 on failure.
    virtual int hmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) = 0;
};

} // namespace Velquor::OAuth
