#include "Session/Operations/RequestSigning.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Session/Products/TokenOperations.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqLog/CallReport.h"

namespace Velquor::WebServices::Internal {

namespace {

// For a message alone: reading a URL is not free, and each signature would pay for it.
QString shownUrl(const QByteArray& encoded) {
    return displayUrl(QUrl::fromEncoded(encoded));
}

OAuth::OutputForm outputForm(ParsingMode mode) {
    switch (mode) {
    case ParsingMode::AuthorizationHeader: return OAuth::OutputForm::Header;
    case ParsingMode::FormBody: return OAuth::OutputForm::FormBody;
    case ParsingMode::QueryString:
    case ParsingMode::SignedUrl: break;
    }
    return OAuth::OutputForm::Query;
}

// The signed URL carries the request's own parameters too, so they must be in its query before it is signed.
OAuth::RequestToSign withParametersInQuery(const OAuth::RequestToSign& request) {
    OAuth::Parameters own;
    OAuth::Parameters protocol;
    for (const OAuth::Parameter& parameter : request.parameters)
        (parameter.first.startsWith("oauth_") ? protocol : own).append(parameter);
    return {request.method, own.isEmpty() ? request.url : OAuth::withParameters(request.url, OAuth::encodeQuery(own)), protocol};
}

} // namespace

RequestSigning::RequestSigning(SessionState& state)
    : m_state(state) {}

Log::ILogger& RequestSigning::logger(const Access& access) const {
    return access.product ? *access.product->services().loggers.product : *m_state.services().loggers.product;
}

QString RequestSigning::lockName(const ProductSessionPointer& product, const QString& operation) {
    const QString prefix = product ? product->logPrefix() : QString();
    return prefix.isEmpty() ? operation : prefix + QLatin1Char(':') + operation;
}

RequestSigning::Refusal RequestSigning::checkState(const Access& access) const {
    if (access.wasRefreshed && !m_state.isLoggedIn())
        return Refusal::NotLoggedIn;
    if (!m_state.isLoginValid())
        return Refusal::StateNotValid;
    const ConfigurationPointer configuration = m_state.clients().configuration(access.clientKey, m_state.currentServer());
    if (!configuration || !WebServicesConfigurationImp::of(*configuration).isValid())
        return Refusal::NoConfiguration;
    return access.product ? Refusal::None : Refusal::NoProduct;
}

RequestSigning::Refusal RequestSigning::check(const Access& access) const {
    const Refusal refusal = checkState(access);
    if (refusal != Refusal::None)
        return refusal;
    if (!access.product->tokens().areComplete())
        return Refusal::NoToken;
    return access.checkExpiry && access.product->tokens().areExpired(m_state.services().now()) ? Refusal::Expired : Refusal::None;
}

RequestSigning::Refusal RequestSigning::lockAndCheck(Access& access, const QString& operation,
                                                     std::optional<TimedLock>& lock) const {
    m_state.lockTimed(lock, lockName(access.product, operation));
    // Look again: another thread may have replaced the product before this one got the lock.
    access.product = m_state.product(access.clientKey);
    return check(access);
}

RequestSigning::Refusal RequestSigning::enter(Access& access, const QString& operation, std::optional<TimedLock>& lock) {
    prepareTokens(access);
    const Refusal refusal = lockAndCheck(access, operation, lock);
    if (refusal != Refusal::Expired || access.wasRefreshed || m_state.isInsideNetworkStep())
        return refusal;
    // The token has ended while this thread waited for the lock. A refresh needs the lock, so it is given back.
    lock.reset();
    prepareTokens(access);
    return lockAndCheck(access, operation, lock);
}

void RequestSigning::report(Refusal refusal) {
    switch (refusal) {
    case Refusal::NoConfiguration: return Log::CallReport::fail(Log::CallFailure::NoConfiguration);
    case Refusal::Expired: return Log::CallReport::fail(Log::CallFailure::Expired);
    case Refusal::None: return Log::CallReport::fail(Log::CallFailure::SigningFailed);
    default: return Log::CallReport::fail(Log::CallFailure::NotSignedIn);
    }
}

QString RequestSigning::signingText(Refusal refusal, const QByteArray& url) {
    switch (refusal) {
    case Refusal::NoProduct: return QStringLiteral("Failed to sign request. Product login session not found.");
    case Refusal::StateNotValid:
        return QStringLiteral("SignRequest failed while signing url %1: Login state is not valid.").arg(shownUrl(url));
    case Refusal::NoConfiguration:
        return QStringLiteral("SignRequest failed while signing url %1: Current configuration is null or invalid.")
            .arg(shownUrl(url));
    case Refusal::NoToken:
        return QStringLiteral("SignRequest failed while signing url %1: No access token found.").arg(shownUrl(url));
    case Refusal::NotLoggedIn: return QStringLiteral("SignRequest failed while signing url %1: Not logged in").arg(shownUrl(url));
    case Refusal::Expired:
        return QStringLiteral("SignRequest failed while signing url %1: Token has expired and failed to refresh token")
            .arg(shownUrl(url));
    case Refusal::None: break;
    }
    return {};
}

QString RequestSigning::tokenText(Refusal refusal) {
    switch (refusal) {
    case Refusal::NotLoggedIn: return QStringLiteral("GetAccessToken failed: Not logged in.");
    case Refusal::NoProduct: return QStringLiteral("GetAccessToken failed: Product login session not found.");
    case Refusal::StateNotValid: return QStringLiteral("GetAccessToken failed: Login state is not valid.");
    case Refusal::NoConfiguration: return QStringLiteral("GetAccessToken failed: Current configuration is null or invalid.");
    case Refusal::NoToken: return QStringLiteral("GetAccessToken failed: No access token found.");
    case Refusal::Expired: return QStringLiteral("GetAccessToken failed: Token has expired and failed to refresh token.");
    case Refusal::None: break;
    }
    return {};
}

void RequestSigning::prepareTokens(Access& access) {
    access.product = m_state.product(access.clientKey);
    TokenOperations* const operations = access.product ? access.product->operations() : nullptr;
    if (!operations || checkState(access) != Refusal::None)
        return;
    const auto isExpired = [&] {
        return access.checkExpiry && m_state.isLoggedIn() && access.product->tokens().areExpired(m_state.services().now());
    };
    const bool isBusy = operations->isQueryInProgress() || operations->isRefreshInProgress();
    if ((!isBusy && !isExpired()) || m_state.isInsideNetworkStep())
        return;
    const bool wasExpired = isExpired();
    operations->waitForTokenQuery();
    operations->waitForRefresh();
    if (isExpired())
        (void)operations->refreshToken(true, RefreshWorker::Reason::Expired);
    access.wasRefreshed = wasExpired;
}

QByteArray RequestSigning::SignRequest(const QString& clientKey, const SigningOrder& order) {
    Access access{clientKey, order.checkExpiry, {}, false};
    std::optional<TimedLock> lock;
    const Refusal refusal = enter(access, QStringLiteral("SignRequest"), lock);
    report(refusal);
    const QString refused = signingText(refusal, order.request.url);
    if (!refused.isEmpty()) {
        logger(access).error(refused);
        return {};
    }
    const Util::Result<QByteArray> signedText = sign(*access.product, order);
    if (signedText)
        return *signedText;
    logger(access).error(signedText.reason());
    return {};
}

Util::Result<QByteArray> RequestSigning::sign(const ProductLoginSession& product, const SigningOrder& order) const {
    Util::Result<SigningKeys> keys = product.signingKeys();
    if (!keys)
        return Util::Failure{
            QStringLiteral("SignRequest failed while signing url %1: %2.").arg(shownUrl(order.request.url), keys.reason())};
    if (!order.token.isEmpty()) {
        keys->token = Util::SecretBytes(QByteArray(order.token));
        keys->tokenSecret = Util::SecretBytes(QByteArray(order.tokenSecret));
    }
    const OAuth::RequestToSign request =
        order.mode == ParsingMode::SignedUrl ? withParametersInQuery(order.request) : order.request;
    const QByteArray parameters = OAuth::VqOAuthWrapper(*m_state.services().oauthHost)
                                      .CreateOauthParameterString(request, keys->credentials(), outputForm(order.mode));
    if (parameters.isEmpty())
        return Util::Failure{
            QStringLiteral(
                "SignRequest failed while signing url %1: Velquor::OAuth::VqOAuthWrapper::CreateOauthParameterString failed.")
                .arg(shownUrl(order.request.url))};
    if (order.mode == ParsingMode::AuthorizationHeader)
        return QByteArray("OAuth " + parameters);
    return order.mode == ParsingMode::SignedUrl ? OAuth::withParameters(request.url, parameters) : parameters;
}

bool RequestSigning::GetAccessToken(const QString& clientKey, bool checkExpiry, Util::SecretBytes& token,
                                    Util::SecretBytes& secret) {
    Access access{clientKey, checkExpiry, {}, false};
    std::optional<TimedLock> lock;
    const Refusal refusal = enter(access, QStringLiteral("GetAccessToken"), lock);
    report(refusal);
    const QString refused = tokenText(refusal);
    if (!refused.isEmpty()) {
        logger(access).error(refused);
        return false;
    }
    Util::Result<SigningKeys> keys = access.product->signingKeys();
    if (!keys) {
        logger(access).error(QStringLiteral("GetAccessToken failed: %1.").arg(keys.reason()));
        return false;
    }
    token = std::move(keys->token);
    secret = std::move(keys->tokenSecret);
    return true;
}

} // namespace Velquor::WebServices::Internal
