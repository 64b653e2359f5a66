#include "Session/Operations/AccountExchange.h"

namespace Velquor::WebServices::Internal {

AccountReply exchangeSignedGet(const SessionDependencies& services, const QUrl& url, const SigningKeys& keys,
                               const OAuth::Parameters& parameters) {
    AccountReply reply;
    QNetworkRequest request;
    reply.isSigned = signGet(*services.oauthHost, url, keys, request, parameters);
    if (reply.isSigned)
        reply.outcome =
            services.network->get(request, services.exchangeTimeoutMs, services.loggers.network, services.exchangeCancel);
    return reply;
}

LoginErrorEx AccountReply::loginError() const {
    if (!isSigned)
        return LoginErrorEx::SigningFailed;
    if (!outcome.reply.sslMessage.isEmpty() || outcome.reply.networkError == QNetworkReply::SslHandshakeFailedError)
        return LoginErrorEx::NoSecureConnection;
    if (outcome.reply.clockKind != ClockKind::None)
        return LoginErrorEx::WrongSystemTime;
    if (outcome.reply.isNull || outcome.reply.status == 0 || outcome.result == OperationResult::Canceled)
        return LoginErrorEx::NoReply;
    return outcome.reply.status == 200 && outcome.result == OperationResult::Success ? LoginErrorEx::InvalidReply
                                                                                     : LoginErrorEx::Refused;
}

} // namespace Velquor::WebServices::Internal
