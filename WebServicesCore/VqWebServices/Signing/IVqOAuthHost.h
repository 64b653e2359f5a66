#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace Velquor::OAuth {

/// The services that the signer needs; the order of the operations is fixed. Text is UTF-8.
/// Thread: any. Owner: the caller of the signer.
class IVqOAuthHost {
public:
    /// Percent-encodes every byte but letters, digits, "-", ".", "_" and "~" (RFC 5849, section 3.6).
    [[nodiscard]] virtual QByteArray UrlEncode(const QByteArray& text) const = 0;

    /// 32 random hexadecimal digits, new for each call (RFC 5849, section 3.3).
    [[nodiscard]] virtual QByteArray GenerateNonce() const = 0;

    /// Seconds since 1970-01-01 UTC, corrected when a time provider is attached.
    [[nodiscard]] virtual qint64 GetTimestamp() const = 0;

    /// Base64 with "=" padding (RFC 4648, section 4).
    [[nodiscard]] virtual QByteArray Base64Encode(const QByteArray& bytes) const = 0;

    /// Writes the HMAC-SHA1 (RFC 2104) of `data` to `output`. `outputLength` is the size of the buffer in bytes and becomes the
    /// length written; it is set to 0 first. Returns 0 on failure: no buffer, a buffer too small, no crypto provider.
    virtual int HmacSha1(const QByteArray& key, const QByteArray& data, unsigned char* output, int* outputLength) const = 0;

    virtual ~IVqOAuthHost() = default;
};

} // namespace Velquor::OAuth
