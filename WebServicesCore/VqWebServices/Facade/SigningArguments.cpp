#include "Facade/SigningArguments.h"

#include "Values/CallerText.h"

#include <QUrl>
#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// A legal URL (RFC 3986) is signed as it is, since a server signs the path that it receives. QUrl would rewrite its escapes.
QByteArray urlToSign(const SigningTexts& texts) {
    const QByteArray& given = texts.url;
    const bool isPrintable =
        std::all_of(given.begin(), given.end(), [](char letter) { return letter > '\x20' && letter < '\x7f'; });
    if (isPrintable && QUrl::fromEncoded(given, QUrl::StrictMode).isValid())
        return given;
    // What is returned for a browser is what is sent, so it can be encoded here.
    return texts.mode == ParsingMode::SignedUrl ? QUrl::fromEncoded(given, QUrl::TolerantMode).toEncoded() : QByteArray();
}

int namelessParameter(const OAuth::Parameters& parameters) {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [](const OAuth::Parameter& parameter) { return parameter.first.isEmpty(); });
    return found == parameters.end() ? -1 : static_cast<int>(found - parameters.begin());
}

} // namespace

Util::Result<SigningTexts> textsOf(const SigningArguments& arguments) {
    if (arguments.count < 0 || arguments.count > maximumParameters || (arguments.count > 0 && !arguments.params))
        return Util::Failure{
            QStringLiteral("The parameters are null, or there are less than 0 or more than %1.").arg(maximumParameters)};
    SigningTexts texts;
    texts.url = utf8FromCaller(arguments.url);
    for (int index = 0; index < arguments.count; ++index)
        texts.parameters.append({utf8FromCaller(arguments.params[index].name), utf8FromCaller(arguments.params[index].value)});
    texts.method = arguments.method;
    texts.mode = arguments.mode;
    texts.token = utf8FromCaller(arguments.token);
    texts.tokenSecret = utf8FromCaller(arguments.tokenSecret);
    return texts;
}

Util::Result<SigningOrder> makeSigningOrder(const SigningTexts& texts) {
    SigningOrder order;
    order.request.url = urlToSign(texts);
    order.request.method = OAuth::httpMethodName(static_cast<int>(texts.method));
    order.mode = texts.mode;
    order.token = texts.token;
    order.tokenSecret = texts.tokenSecret;
    if (!OAuth::splitUrl(order.request.url).isValid())
        return Util::Failure{QStringLiteral("The url is not an absolute http or https url, or not an encoded one.")};
    if (order.request.method.isEmpty())
        return Util::Failure{QStringLiteral("The http method is unknown.")};
    if (texts.mode < ParsingMode::QueryString || texts.mode > ParsingMode::FormBody)
        return Util::Failure{QStringLiteral("The parsing mode is unknown.")};
    if (const int nameless = namelessParameter(texts.parameters); nameless >= 0)
        return Util::Failure{QStringLiteral("Parameter %1 has no name.").arg(nameless)};
    order.request.parameters = texts.parameters;
    return order;
}

} // namespace Velquor::WebServices::Internal
