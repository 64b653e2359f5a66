#include "Facade/ClientCalls.h"

#include "Facade/FacadeCall.h"
#include "Network/Diagnosis/DisplayUrl.h"

namespace Velquor::WebServices::Internal {

namespace {

QString displayed(const QString& url) {
    return displayUrl(QUrl(url, QUrl::TolerantMode));
}

Util::Result<SigningOrder> orderOf(const Util::Result<SigningTexts>& texts) {
    return texts ? makeSigningOrder(*texts) : Util::Failure{texts.reason()};
}

} // namespace

InitiatedLogin initiateLogin(const QString& clientKey, const QString& userName) {
    InitiatedLogin failure{LoginCode::notReady, {}, LoginErrorEx::NotReady, 0};
    if (!mayUseNetwork("Cannot initiate login. Web Services initialization failed due to missing WebServices.logconfig file."))
        return failure;
    return withSession("InitiateLogin", failure, [&](LoginSession& session) {
        return session.requireClient(clientKey) ? session.InitiateLogin(clientKey, userName) : failure;
    });
}

bool initiateLogout(const QString& clientKey, QString& url, NetworkCookieJar& cookies) {
    if (!mayUseNetwork("Cannot initiate logout. Web Services initialization failed due to missing WebServices.logconfig file."))
        return false;
    return withSession("InitiateLogout", false, [&](LoginSession& session) {
        return session.requireClient(clientKey) && session.InitiateLogout(clientKey, url, cookies);
    });
}

Util::SecretBytes accessToken(const QString& clientKey, bool checkExpiry) {
    if (!mayUseNetwork("Cannot get access token. Web Services initialization failed due to missing WebServices.logconfig file."))
        return {};
    Util::SecretBytes token;
    (void)withSession("GetAccessToken", false, [&](LoginSession& session) {
        Util::SecretBytes secret;
        return session.requireClient(clientKey) && session.GetAccessToken(clientKey, checkExpiry, token, secret);
    });
    return token;
}

QByteArray signRequest(const QString& clientKey, const std::function<Util::Result<SigningTexts>()>& convert,
                       const std::function<QString()>& shownUrl, bool checkExpiry) {
    if (!mayUseNetwork("Cannot sign request. Web Services initialization failed due to missing WebServices.logconfig file."))
        return {};
    const auto work = [&](LoginSession& session) -> QByteArray {
        if (!session.requireClient(clientKey))
            return {};
        Util::Result<SigningOrder> order = orderOf(convert());
        if (order) {
            order->checkExpiry = checkExpiry;
            return session.SignRequest(clientKey, *order);
        }
        Log::CallReport::fail(Log::CallFailure::BadArgument);
        Log::rootLogger().error(
            QStringLiteral("SignRequest failed while signing url %1: %2").arg(displayed(shownUrl()), order.reason()));
        return {};
    };
    return withSession("SignRequest", QByteArray(), work, [&] {
        return QStringLiteral("SignRequest failed while signing url %1: Module not initialized or already uninitialized.")
            .arg(displayed(shownUrl()));
    });
}

} // namespace Velquor::WebServices::Internal
