#include "Facade/SigningArguments.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Values/CallerText.h"
#include "VqLog/LoggerWrapper.h"

namespace Velquor::WebServices::Internal {

namespace {

constexpr int maximumParameters = 1000;

QString takeParameters(const SigningArguments& arguments, OAuth::Parameters& parameters) {
    if (arguments.count < 0 || arguments.count > maximumParameters || (arguments.count > 0 && !arguments.params))
        return QStringLiteral("The parameters are null, or there are less than 0 or more than %1.").arg(maximumParameters);
    for (int index = 0; index < arguments.count; ++index) {
        const QByteArray name = textFromCaller(arguments.params[index].name).toUtf8();
        if (name.isEmpty())
            return QStringLiteral("Parameter %1 has no name.").arg(index);
        parameters.append({name, textFromCaller(arguments.params[index].value).toUtf8()});
    }
    return {};
}

QString fillOrder(const SigningArguments& arguments, SigningOrder& order) {
    order.request.url = QUrl(textFromCaller(arguments.url), QUrl::TolerantMode);
    order.request.method = OAuth::httpMethodName(static_cast<int>(arguments.method));
    order.mode = arguments.mode;
    order.token = textFromCaller(arguments.token).toUtf8();
    order.tokenSecret = textFromCaller(arguments.tokenSecret).toUtf8();
    if (!OAuth::splitUrl(order.request.url.toEncoded()).isValid())
        return QStringLiteral("The url is not an absolute http or https url.");
    if (order.request.method.isEmpty())
        return QStringLiteral("The http method is unknown.");
    if (arguments.mode < ParsingMode::QueryString || arguments.mode > ParsingMode::FormBody)
        return QStringLiteral("The parsing mode is unknown.");
    return takeParameters(arguments, order.request.parameters);
}

} // namespace

bool makeSigningOrder(const SigningArguments& arguments, SigningOrder& order) {
    const QString error = fillOrder(arguments, order);
    if (error.isEmpty())
        return true;
    Log::rootLogger().error(
        QStringLiteral("SignRequest failed while signing url %1: %2").arg(displayUrl(order.request.url), error));
    return false;
}

} // namespace Velquor::WebServices::Internal
