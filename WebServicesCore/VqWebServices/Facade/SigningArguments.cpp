#include "Facade/SigningArguments.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Values/CallerText.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/General/Result.h"

#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumParameters = 1000;

// A legal URL (RFC 3986) is signed as it is, since a server signs the path that it receives. QUrl would rewrite its escapes.
QByteArray urlFromCaller(const SigningArguments& arguments) {
    QByteArray given = utf8FromCaller(arguments.url);
    const bool isPrintable =
        std::all_of(given.begin(), given.end(), [](char letter) { return letter > '\x20' && letter < '\x7f'; });
    if (isPrintable && QUrl::fromEncoded(given, QUrl::StrictMode).isValid())
        return given;
    // What is returned for a browser is what is sent, so it can be encoded here.
    return arguments.mode == ParsingMode::SignedUrl ? QUrl::fromEncoded(given, QUrl::TolerantMode).toEncoded() : QByteArray();
}

Util::Result<OAuth::Parameters> takeParameters(const SigningArguments& arguments) {
    if (arguments.count < 0 || arguments.count > maximumParameters || (arguments.count > 0 && !arguments.params))
        return Util::Failure{
            QStringLiteral("The parameters are null, or there are less than 0 or more than %1.").arg(maximumParameters)};
    OAuth::Parameters parameters;
    for (int index = 0; index < arguments.count; ++index) {
        const QByteArray name = utf8FromCaller(arguments.params[index].name);
        if (name.isEmpty())
            return Util::Failure{QStringLiteral("Parameter %1 has no name.").arg(index)};
        parameters.append({name, utf8FromCaller(arguments.params[index].value)});
    }
    return parameters;
}

Util::Result<SigningOrder> checkedOrder(const SigningArguments& arguments) {
    SigningOrder order;
    order.request.url = urlFromCaller(arguments);
    order.request.method = OAuth::httpMethodName(static_cast<int>(arguments.method));
    order.mode = arguments.mode;
    order.token = utf8FromCaller(arguments.token);
    order.tokenSecret = utf8FromCaller(arguments.tokenSecret);
    if (!OAuth::splitUrl(order.request.url).isValid())
        return Util::Failure{QStringLiteral("The url is not an absolute http or https url, or not an encoded one.")};
    if (order.request.method.isEmpty())
        return Util::Failure{QStringLiteral("The http method is unknown.")};
    if (arguments.mode < ParsingMode::QueryString || arguments.mode > ParsingMode::FormBody)
        return Util::Failure{QStringLiteral("The parsing mode is unknown.")};
    Util::Result<OAuth::Parameters> parameters = takeParameters(arguments);
    if (!parameters)
        return Util::Failure{parameters.reason()};
    order.request.parameters = std::move(*parameters);
    return order;
}

} // namespace

std::optional<SigningOrder> makeSigningOrder(const SigningArguments& arguments) {
    Util::Result<SigningOrder> order = checkedOrder(arguments);
    if (order)
        return std::move(*order);
    Log::rootLogger().error(QStringLiteral("SignRequest failed while signing url %1: %2")
                                .arg(displayUrl(QUrl(textFromCaller(arguments.url), QUrl::TolerantMode)), order.reason()));
    return std::nullopt;
}

} // namespace Velquor::WebServices::Internal
