#include "Signing/SignatureBase.h"

#include "Signing/IVqOAuthHost.h"

#include <QList>
#include <algorithm>

namespace Velquor::OAuth {

namespace {

QByteArray decodeComponent(QByteArray text) {
    text.replace('+', ' ');
    return QByteArray::fromPercentEncoding(text);
}

// The authority without user information, and without the port that the scheme implies.
QByteArray canonicalAuthority(const QByteArray& scheme, QByteArray authority) {
    authority = authority.mid(authority.lastIndexOf('@') + 1).toLower();
    const QByteArray defaultPort = scheme == "https" ? ":443" : ":80";
    if (authority.endsWith(defaultPort))
        authority.chop(defaultPort.size());
    else if (authority.endsWith(':'))
        authority.chop(1);
    return authority;
}

int endOf(const QByteArray& text, char mark, int from) {
    const int position = text.indexOf(mark, from);
    return position < 0 ? text.size() : position;
}

} // namespace

SplitUrl splitUrl(const QByteArray& encodedUrl) {
    const int schemeEnd = encodedUrl.indexOf("://");
    const QByteArray scheme = encodedUrl.left(schemeEnd < 0 ? 0 : schemeEnd).toLower();
    if (scheme != "http" && scheme != "https")
        return {};
    const QByteArray url = encodedUrl.left(endOf(encodedUrl, '#', 0));
    const int authorityStart = schemeEnd + 3;
    const int queryStart = endOf(url, '?', authorityStart);
    const int pathStart = std::min(endOf(url, '/', authorityStart), queryStart);
    const QByteArray authority = canonicalAuthority(scheme, url.mid(authorityStart, pathStart - authorityStart));
    if (authority.isEmpty())
        return {};
    const QByteArray path = pathStart == queryStart ? QByteArray("/") : url.mid(pathStart, queryStart - pathStart);
    return {scheme + "://" + authority + path, url.mid(queryStart + 1)};
}

Parameters parseFormEncoded(const QByteArray& text) {
    Parameters parameters;
    const QList<QByteArray> pieces = text.isEmpty() ? QList<QByteArray>() : text.split('&');
    for (const QByteArray& piece : pieces) {
        if (piece.isEmpty())
            continue;
        const int equals = endOf(piece, '=', 0);
        parameters.append({decodeComponent(piece.left(equals)), decodeComponent(piece.mid(equals + 1))});
    }
    return parameters;
}

Parameters encodeAndSort(const IVqOAuthHost& host, const Parameters& decoded) {
    Parameters encoded;
    encoded.reserve(decoded.size());
    for (const Parameter& parameter : decoded)
        encoded.append({host.UrlEncode(parameter.first), host.UrlEncode(parameter.second)});
    std::sort(encoded.begin(), encoded.end());
    return encoded;
}

QByteArray joinPairs(const Parameters& encoded) {
    QByteArray joined;
    joined.reserve(encoded.size() * 48);
    for (const Parameter& parameter : encoded) {
        if (!joined.isEmpty())
            joined += '&';
        joined += parameter.first;
        joined += '=';
        joined += parameter.second;
    }
    return joined;
}

QByteArray signatureBaseString(const IVqOAuthHost& host, const QByteArray& method, const QByteArray& baseUri,
                               const Parameters& encoded) {
    return method + '&' + host.UrlEncode(baseUri) + '&' + host.UrlEncode(joinPairs(encoded));
}

} // namespace Velquor::OAuth
