#include "Signing/SignatureBase.h"

#include "Signing/IVqOAuthHost.h"

#include <QStringBuilder>
#include <algorithm>

namespace Velquor::OAuth {

namespace {

QByteArray decodeComponent(QByteArray text) {
    if (text.contains('+'))
        text.replace('+', ' ');
    return text.contains('%') ? QByteArray::fromPercentEncoding(text) : text;
}

// The authority without user information, and without the port that the scheme implies.
QByteArray canonicalAuthority(const QByteArray& scheme, QByteArray authority) {
    authority.remove(0, authority.lastIndexOf('@') + 1);
    const QByteArray defaultPort = scheme == "https" ? QByteArrayLiteral(":443") : QByteArrayLiteral(":80");
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

// Looks no further than `to`: a text of many parts would otherwise take time by the square of its size.
int endOf(const QByteArray& text, char mark, int from, int to) {
    return static_cast<int>(std::find(text.begin() + from, text.begin() + to, mark) - text.begin());
}

QByteArray part(const QByteArray& text, int from, int to) {
    return from < to ? text.mid(from, to - from) : QByteArray();
}

} // namespace

// On the encoded bytes: QUrl would decode and normalise parts that the server signs as they were sent.
SplitUrl splitUrl(const QByteArray& encodedUrl) {
    const int schemeEnd = encodedUrl.indexOf("://");
    const QByteArray scheme = part(encodedUrl, 0, schemeEnd).toLower();
    if (scheme != "http" && scheme != "https")
        return {};
    const int start = schemeEnd + 3;
    const int end = endOf(encodedUrl, '#', start);
    const int pathEnd = std::min(endOf(encodedUrl, '?', start), end);
    const int authorityEnd = std::min(endOf(encodedUrl, '/', start), pathEnd);
    const QByteArray authority = canonicalAuthority(scheme, part(encodedUrl, start, authorityEnd).toLower());
    if (authority.isEmpty())
        return {};
    const QByteArray path = authorityEnd == pathEnd ? QByteArrayLiteral("/") : part(encodedUrl, authorityEnd, pathEnd);
    return {scheme % "://" % authority % path, part(encodedUrl, pathEnd + 1, end)};
}

Parameters parseFormEncoded(const QByteArray& text) {
    Parameters parameters;
    for (int from = 0; from < text.size();) {
        const int to = endOf(text, '&', from);
        const int equals = endOf(text, '=', from, to);
        if (from < to)
            parameters.append({decodeComponent(part(text, from, equals)), decodeComponent(part(text, equals + 1, to))});
        from = to + 1;
    }
    return parameters;
}

Parameters encodeAll(const IVqOAuthHost& host, const Parameters& decoded) {
    Parameters encoded;
    encoded.reserve(decoded.size());
    for (const Parameter& parameter : decoded)
        encoded.append({host.UrlEncode(parameter.first), host.UrlEncode(parameter.second)});
    return encoded;
}

void sortPairs(Parameters& encoded) {
    std::sort(encoded.begin(), encoded.end());
}

QByteArray joinPairs(const Parameters& encoded, PairStyle style) {
    const bool quoted = style == PairStyle::Header;
    int size = 0;
    for (const Parameter& parameter : encoded)
        size += parameter.first.size() + parameter.second.size() + (quoted ? 4 : 2);
    // One allocation of the right size: this runs for every request that a product sends.
    QByteArray joined(size, Qt::Uninitialized);
    char* end = joined.data();
    const auto write = [&end](const QByteArray& text) { end = std::copy(text.begin(), text.end(), end); };
    for (const Parameter& parameter : encoded) {
        write(parameter.first);
        *end++ = '=';
        if (quoted)
            *end++ = '"';
        write(parameter.second);
        if (quoted)
            *end++ = '"';
        *end++ = quoted ? ',' : '&';
    }
    joined.chop(1);
    return joined;
}

QByteArray signatureBaseString(const IVqOAuthHost& host, const QByteArray& method, const QByteArray& baseUri,
                               const Parameters& sorted) {
    return method % '&' % host.UrlEncode(baseUri) % '&' % host.UrlEncode(joinPairs(sorted, PairStyle::Form));
}

} // namespace Velquor::OAuth
