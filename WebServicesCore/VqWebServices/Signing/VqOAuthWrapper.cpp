#include "Signing/VqOAuthWrapper.h"

#include "Signing/IVqOAuthHost.h"

#include <algorithm>
#include <iterator>
#include <openssl/crypto.h>

namespace Velquor::OAuth {

namespace {

constexpr const char* methodNames[] = {"GET", "POST", "PUT", "DELETE", "HEAD", "OPTIONS", "TRACE", "PROPFIND", "MOVE", "COPY",
                                       "LOCK", "UNLOCK", "CHECKIN", "CHECKOUT", "CANCELUPLOAD", "REPORT", "UPDATE",
                                       "PROPPATCH", "GETLIB", "VERSIONCONTROL"};

bool isProtocolName(const QByteArray& name) { return name.startsWith("oauth_"); }

// A second value under one of the signer's own names would be refused by every server (RFC 5849, section 3.1).
bool isReservedName(const QByteArray& name) {
    static const QByteArray reserved[] = {"oauth_consumer_key", "oauth_nonce", "oauth_signature", "oauth_signature_method",
                                          "oauth_timestamp", "oauth_token", "oauth_version"};
    return isProtocolName(name) && std::find(std::begin(reserved), std::end(reserved), name) != std::end(reserved);
}

bool hasReservedName(const Parameters& parameters) {
    return std::any_of(parameters.begin(), parameters.end(), [](const Parameter& p) { return isReservedName(p.first); });
}

QByteArray joinQuoted(const Parameters& encoded) {
    QByteArray joined;
    joined.reserve(encoded.size() * 48);
    for (const Parameter& parameter : encoded) {
        if (!joined.isEmpty())
            joined += ',';
        joined += parameter.first + "=\"" + parameter.second + '"';
    }
    return joined;
}

} // namespace

VqOAuthWrapper::VqOAuthWrapper(const IVqOAuthHost& host)
    : m_host(host) {}

Parameters VqOAuthWrapper::protocolParameters(const RequestToSign& request, const Credentials& credentials) const {
    Parameters parameters{{"oauth_consumer_key", credentials.consumerKey},
                          {"oauth_nonce", m_host.GenerateNonce()},
                          {"oauth_signature_method", "HMAC-SHA1"},
                          {"oauth_timestamp", QByteArray::number(m_host.GetTimestamp())},
                          {"oauth_version", "1.0"}};
    if (!credentials.token.isEmpty())
        parameters.append({"oauth_token", credentials.token});
    for (const Parameter& parameter : request.parameters) {
        if (isProtocolName(parameter.first))
            parameters.append(parameter);
    }
    return parameters;
}

QByteArray VqOAuthWrapper::CreateOauthParameterString(const RequestToSign& request, const Credentials& credentials,
                                                      OutputForm form) const {
    const SplitUrl url = splitUrl(request.url.toEncoded());
    Parameters own = parseFormEncoded(url.query);
    if (!url.isValid() || request.method.isEmpty() || credentials.consumerKey.isEmpty() || hasReservedName(own)
        || hasReservedName(request.parameters))
        return {};
    Parameters body;
    for (const Parameter& parameter : request.parameters) {
        if (!isProtocolName(parameter.first))
            body.append(parameter);
    }
    const Parameters protocol = protocolParameters(request, credentials);
    const Parameters signedOnes = encodeAndSort(m_host, own + body + protocol);
    const QByteArray signature = sign(signatureBaseString(m_host, request.method, url.baseUri, signedOnes), credentials);
    if (signature.isEmpty())
        return {};
    Parameters written = encodeAndSort(m_host, form == OutputForm::FormBody ? body + protocol : protocol);
    written.append({"oauth_signature", m_host.UrlEncode(signature)});
    return form == OutputForm::Header ? joinQuoted(written) : joinPairs(written);
}

QByteArray VqOAuthWrapper::sign(const QByteArray& baseString, const Credentials& credentials) const {
    QByteArray key = m_host.UrlEncode(credentials.consumerSecret) + '&' + m_host.UrlEncode(credentials.tokenSecret);
    QByteArray digest(20, '\0');
    int length = digest.size();
    const int result = m_host.HmacSha1(key, baseString, reinterpret_cast<unsigned char*>(digest.data()), &length);
    OPENSSL_cleanse(key.data(), static_cast<size_t>(key.size()));
    return result != 0 && length == digest.size() ? m_host.Base64Encode(digest) : QByteArray();
}

QByteArray httpMethodName(int index) {
    return index >= 0 && index < static_cast<int>(std::size(methodNames)) ? QByteArray(methodNames[index]) : QByteArray();
}

QUrl withParameters(const QUrl& url, const QByteArray& parameterString) {
    QByteArray query = url.query(QUrl::FullyEncoded).toLatin1();
    if (!query.isEmpty())
        query += '&';
    QUrl result(url);
    result.setQuery(QString::fromLatin1(query + parameterString), QUrl::StrictMode);
    return result;
}

} // namespace Velquor::OAuth
