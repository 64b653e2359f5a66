#pragma once

#include <QByteArray>
#include <QPair>
#include <QUrl>
#include <QVector>

namespace Vqws {

/// What signs a request of OAuth 1.0; the token may be missing.
struct OAuthKeys {
    QByteArray consumerKey;
    QByteArray consumerSecret;
    QByteArray token;
    QByteArray tokenSecret;
};

/// A time stamp, a nonce and a session handle, so that a request can be wrong in one of them.
struct OAuthStamp {
    qint64 seconds = 0;
    QByteArray nonce;
    QByteArray sessionHandle; ///< Not sent when empty.
};

// The signature of a GET (RFC 5849), made without the library: its interface signs nothing wrong. Thread: any.

/// The value of the header "Authorization".
[[nodiscard]] QByteArray authorizationHeader(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp);
/// The address with the signature in its query.
[[nodiscard]] QUrl signedAddress(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp);

} // namespace Vqws
