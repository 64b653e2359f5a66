#include "Session/Operations/AccountExchange.h"

#include "VqLog/CallReport.h"

namespace Velquor::WebServices::Internal {

namespace {

// A reply that is fine so far can only fail by its content.
Log::CallFailure failureOf(LoginErrorEx error) {
    switch (error) {
    case LoginErrorEx::NoReply: return Log::CallFailure::NoNetwork;
    case LoginErrorEx::NoSecureConnection: return Log::CallFailure::NoSecureConnection;
    case LoginErrorEx::WrongSystemTime: return Log::CallFailure::WrongClock;
    case LoginErrorEx::Refused: return Log::CallFailure::Refused;
    case LoginErrorEx::InvalidReply: return Log::CallFailure::InvalidReply;
    case LoginErrorEx::SigningFailed: return Log::CallFailure::SigningFailed;
    default: return Log::CallFailure::Other;
    }
}

} // namespace

AccountReply exchangeSignedGet(const SessionDependencies& services, const QUrl& url, const SigningKeys& keys,
                               const OAuth::Parameters& parameters) {
    AccountReply reply;
    QNetworkRequest request;
    reply.isSigned = signGet(*services.oauthHost, url, keys, request, parameters);
    if (reply.isSigned)
        reply.outcome =
            services.network->get(request, services.exchangeTimeoutMs, services.loggers.network, services.exchangeCancel);
    Log::CallReport::fail(failureOf(reply.loginError()));
    Log::CallReport::noteHttpStatus(reply.reply().status);
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
