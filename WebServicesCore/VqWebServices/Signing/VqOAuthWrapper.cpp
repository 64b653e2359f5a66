#include "Signing/VqOAuthWrapper.h"

#include "Signing/IVqOAuthHost.h"
#include "VqUtil/Crypto/SecretBytes.h"

#include <QStringBuilder>
#include <algorithm>
#include <array>
#include <iterator>

namespace Velquor::OAuth {

namespace {

constexpr int digestSize = 20;

constexpr const char* methodNames[] = {"GET",          "POST",   "PUT",    "DELETE",    "HEAD",   "OPTIONS",       "TRACE",
                                       "PROPFIND",     "MOVE",   "COPY",   "LOCK",      "UNLOCK", "CHECKIN",       "CHECKOUT",
                                       "CANCELUPLOAD", "REPORT", "UPDATE", "PROPPATCH", "GETLIB", "VERSIONCONTROL"};

bool isProtocolName(const QByteArray& name) {
    return name.startsWith("oauth_");
}

// Servers refuse a request in which a parameter of the signer occurs twice (RFC 5849, section 3.1).
bool isReservedName(const QByteArray& name) {
    static const char* const reserved[] = {"oauth_consumer_key", "oauth_nonce", "oauth_signature", "oauth_signature_method",
                                           "oauth_timestamp",    "oauth_token", "oauth_version"};
    return isProtocolName(name)
           && std::any_of(std::begin(reserved), std::end(reserved), [&name](const char* own) { return name == own; });
}

bool hasReservedName(const Parameters& parameters) {
    return std::any_of(parameters.begin(), parameters.end(), [](const Parameter& p) { return isReservedName(p.first); });
}

} // namespace

VqOAuthWrapper::VqOAuthWrapper(const IVqOAuthHost& host)
    : m_host(host) {}

// Sorted by name, except for extensions.
Parameters VqOAuthWrapper::protocolParameters(const RequestToSign& request, const Credentials& credentials) const {
    Parameters parameters;
    parameters.reserve(8);
    parameters.append({QByteArrayLiteral("oauth_consumer_key"), credentials.consumerKey});
    parameters.append({QByteArrayLiteral("oauth_nonce"), m_host.GenerateNonce()});
    parameters.append({QByteArrayLiteral("oauth_signature_method"), QByteArrayLiteral("HMAC-SHA1")});
    parameters.append({QByteArrayLiteral("oauth_timestamp"), QByteArray::number(m_host.GetTimestamp())});
    if (!credentials.token.isEmpty())
        parameters.append({QByteArrayLiteral("oauth_token"), credentials.token});
    parameters.append({QByteArrayLiteral("oauth_version"), QByteArrayLiteral("1.0")});
    std::copy_if(request.parameters.begin(), request.parameters.end(), std::back_inserter(parameters),
                 [](const Parameter& parameter) { return isProtocolName(parameter.first); });
    return parameters;
}

QByteArray VqOAuthWrapper::CreateOauthParameterString(const RequestToSign& request, const Credentials& credentials,
                                                      OutputForm form) const {
    const SplitUrl url = splitUrl(request.url);
    const Parameters query = parseFormEncoded(url.query);
    if (!url.isValid() || request.method.isEmpty() || credentials.consumerKey.isEmpty() || hasReservedName(query)
        || hasReservedName(request.parameters))
        return {};
    Parameters body;
    std::copy_if(request.parameters.begin(), request.parameters.end(), std::back_inserter(body),
                 [](const Parameter& parameter) { return !isProtocolName(parameter.first); });
    body = encodeAll(m_host, body);
    Parameters protocol = encodeAll(m_host, protocolParameters(request, credentials));
    sortPairs(protocol);
    Parameters all = body + protocol + encodeAll(m_host, query);
    sortPairs(all);
    const QByteArray signature = sign(signatureBaseString(m_host, request.method, url.baseUri, all), credentials);
    if (signature.isEmpty())
        return {};
    Parameters written = form == OutputForm::FormBody ? body + protocol : protocol;
    written.append({QByteArrayLiteral("oauth_signature"), m_host.UrlEncode(signature)});
    return joinPairs(written, form == OutputForm::Header ? PairStyle::Header : PairStyle::Form);
}

QByteArray VqOAuthWrapper::sign(const QByteArray& baseString, const Credentials& credentials) const {
    const Util::SecretBytes consumerSecret(m_host.UrlEncode(credentials.consumerSecret));
    const Util::SecretBytes tokenSecret(m_host.UrlEncode(credentials.tokenSecret));
    const Util::SecretBytes key(QByteArray(consumerSecret.view() % '&' % tokenSecret.view()));
    std::array<unsigned char, digestSize> digest{};
    int length = digestSize;
    if (m_host.HmacSha1(key.view(), baseString, digest.data(), &length) == 0 || length != digestSize)
        return {};
    return m_host.Base64Encode(QByteArray::fromRawData(reinterpret_cast<const char*>(digest.data()), digestSize));
}

QByteArray httpMethodName(int index) {
    return index >= 0 && index < static_cast<int>(std::size(methodNames)) ? QByteArray(methodNames[index]) : QByteArray();
}

QByteArray encodeQuery(const Parameters& decoded) {
    Parameters encoded;
    for (const Parameter& parameter : decoded)
        encoded.append({parameter.first.toPercentEncoding(), parameter.second.toPercentEncoding()});
    return joinPairs(encoded, PairStyle::Form);
}

QByteArray withParameters(const QByteArray& url, const QByteArray& parameterString) {
    const int end = url.contains('#') ? url.indexOf('#') : url.size();
    QByteArray made = url.left(end);
    const int query = made.indexOf('?');
    if (query < 0)
        made += '?';
    else if (query < end - 1)
        made += '&';
    return made + parameterString + url.mid(end);
}

} // namespace Velquor::OAuth
