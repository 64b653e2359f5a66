#include "Contract/OAuthSignature.h"

#include <QMessageAuthenticationCode>
#include <algorithm>

namespace Vqws {

namespace {

using Pairs = QVector<QPair<QByteArray, QByteArray>>;

QByteArray decoded(QByteArray text) {
    return QByteArray::fromPercentEncoding(text.replace('+', ' '));
}

Pairs queryOf(const QUrl& url) {
    Pairs pairs;
    const QByteArray query = url.query(QUrl::FullyEncoded).toLatin1();
    for (const QByteArray& part : query.split('&')) {
        const int mark = part.indexOf('=');
        if (!part.isEmpty())
            pairs.append({decoded(part.left(mark)), mark < 0 ? QByteArray() : decoded(part.mid(mark + 1))});
    }
    return pairs;
}

QByteArray joined(Pairs pairs) {
    for (auto& pair : pairs)
        pair = {pair.first.toPercentEncoding(), pair.second.toPercentEncoding()};
    std::sort(pairs.begin(), pairs.end());
    QByteArray text;
    for (const auto& pair : qAsConst(pairs))
        text += (text.isEmpty() ? "" : "&") + pair.first + '=' + pair.second;
    return text;
}

QByteArray baseAddress(QUrl url) {
    const int usualPort = url.scheme() == QLatin1String("https") ? 443 : 80;
    if (url.port() == usualPort)
        url.setPort(-1);
    return url.adjusted(QUrl::RemoveQuery | QUrl::RemoveFragment | QUrl::RemoveUserInfo).toEncoded();
}

Pairs signedParameters(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp) {
    Pairs pairs{{"oauth_consumer_key", keys.consumerKey},
                {"oauth_nonce", stamp.nonce},
                {"oauth_signature_method", "HMAC-SHA1"},
                {"oauth_timestamp", QByteArray::number(stamp.seconds)},
                {"oauth_version", "1.0"}};
    if (!keys.token.isEmpty())
        pairs.append({"oauth_token", keys.token});
    if (!stamp.sessionHandle.isEmpty())
        pairs.append({"oauth_session_handle", stamp.sessionHandle});
    const QByteArray base =
        "GET&" + baseAddress(url).toPercentEncoding() + '&' + joined(pairs + queryOf(url)).toPercentEncoding();
    const QByteArray key = keys.consumerSecret.toPercentEncoding() + '&' + keys.tokenSecret.toPercentEncoding();
    pairs.append({"oauth_signature", QMessageAuthenticationCode::hash(base, key, QCryptographicHash::Sha1).toBase64()});
    return pairs;
}

} // namespace

QByteArray authorizationHeader(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp) {
    QByteArray header = "OAuth ";
    for (const auto& pair : signedParameters(url, keys, stamp))
        header += (header.endsWith(' ') ? "" : ",") + pair.first + "=\"" + pair.second.toPercentEncoding() + '"';
    return header;
}

QUrl signedAddress(const QUrl& url, const OAuthKeys& keys, const OAuthStamp& stamp) {
    QByteArray address = url.toEncoded(QUrl::RemoveFragment);
    address += address.contains('?') ? (address.endsWith('?') ? "" : "&") : "?";
    return QUrl::fromEncoded(address + joined(signedParameters(url, keys, stamp)));
}

} // namespace Vqws
