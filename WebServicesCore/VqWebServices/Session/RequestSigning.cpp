#include "Session/RequestSigning.h"

#include "Network/DisplayUrl.h"
#include "Session/LoginSessionLock.h"
#include "Values/WebServicesConfigurationImp.h"

namespace Velquor::WebServices {

namespace {

OAuth::OutputForm outputForm(ParsingMode mode) {
    switch (mode) {
    case ParsingMode::AuthorizationHeader:
        return OAuth::OutputForm::Header;
    case ParsingMode::FormBody:
        return OAuth::OutputForm::FormBody;
    case ParsingMode::QueryString:
    case ParsingMode::SignedUrl:
        break;
    }
    return OAuth::OutputForm::Query;
}

// The signed URL carries the request's own parameters too, so they must be in its query before it is signed.
OAuth::RequestToSign withParametersInQuery(const OAuth::RequestToSign& request) {
    QByteArray query;
    OAuth::Parameters protocol;
    for (const OAuth::Parameter& parameter : request.parameters) {
        if (parameter.first.startsWith("oauth_"))
            protocol.append(parameter);
        else
            query += (query.isEmpty() ? "" : "&") + parameter.first.toPercentEncoding() + '=' + parameter.second.toPercentEncoding();
    }
    return {request.method, query.isEmpty() ? request.url : OAuth::withParameters(request.url, query), protocol};
}

} // namespace

RequestSigning::RequestSigning(SessionCore& core)
    : m_core(core)
    , m_logger(*core.services.logger) {}

QString RequestSigning::lockName(const ProductSessionPointer& product, const QString& operation) const {
    const QString prefix = product ? product->logPrefix() : QString();
    return prefix.isEmpty() ? operation : prefix + QLatin1Char(':') + operation;
}

QString RequestSigning::checkState(const QString& clientKey, const ProductSessionPointer& product) const {
    if (!m_core.isLoginValid())
        return QStringLiteral("Login state is not valid.");
    const ConfigurationPointer configuration = m_core.clients.configuration(clientKey, m_core.currentServer());
    if (!configuration || !WebServicesConfigurationImp::of(*configuration).isValid())
        return QStringLiteral("Current configuration is null or invalid.");
    if (!product || !product->tokens().areComplete())
        return QStringLiteral("No access token found.");
    return {};
}

QString RequestSigning::checkExpiry(const QString& clientKey, const ProductLoginSession& product) const {
    if (!m_core.isLoggedIn(clientKey))
        return QStringLiteral("Not logged in");
    if (product.tokens().areExpired(m_core.services.now()))
        return QStringLiteral("Token has expired and failed to refresh token");
    return {};
}

QByteArray RequestSigning::SignRequest(const QString& clientKey, const SigningOrder& order) {
    const ProductSessionPointer product = m_core.product(clientKey);
    const LoginSessionLock lock(m_core.lock, lockName(product, QStringLiteral("SignRequest")), m_core.services.logger);
    QString error = checkState(clientKey, product);
    if (error.isEmpty() && order.checkExpiry)
        error = checkExpiry(clientKey, *product);
    QByteArray result;
    if (error.isEmpty())
        result = sign(*product, order, error);
    if (result.isEmpty())
        m_logger.error(QStringLiteral("SignRequest failed while signing url %1: %2").arg(displayUrl(order.request.url), error));
    return result;
}

QByteArray RequestSigning::sign(const ProductLoginSession& product, const SigningOrder& order, QString& error) const {
    ProductLoginSession::KeysResult keys = product.signingKeys();
    if (!keys.error.isEmpty()) {
        error = keys.error + QLatin1Char('.');
        return {};
    }
    if (!order.token.isEmpty()) {
        keys.keys.token = Util::SecretBytes(QByteArray(order.token));
        keys.keys.tokenSecret = Util::SecretBytes(QByteArray(order.tokenSecret));
    }
    const OAuth::RequestToSign request = order.mode == ParsingMode::SignedUrl ? withParametersInQuery(order.request) : order.request;
    const QByteArray parameters = OAuth::VqOAuthWrapper(*m_core.services.oauthHost)
                                      .CreateOauthParameterString(request, keys.keys.credentials(), outputForm(order.mode));
    if (parameters.isEmpty()) {
        error = QStringLiteral("Velquor::OAuth::VqOAuthWrapper::CreateOauthParameterString failed.");
        return {};
    }
    if (order.mode == ParsingMode::AuthorizationHeader)
        return "OAuth " + parameters;
    return order.mode == ParsingMode::SignedUrl ? OAuth::withParameters(request.url, parameters).toEncoded() : parameters;
}

bool RequestSigning::GetAccessToken(const QString& clientKey, bool check, Util::SecretBytes& token, Util::SecretBytes& secret) {
    const ProductSessionPointer product = m_core.product(clientKey);
    const LoginSessionLock lock(m_core.lock, lockName(product, QStringLiteral("GetAccessToken")), m_core.services.logger);
    QString error = checkState(clientKey, product);
    if (error.isEmpty() && check)
        error = checkExpiry(clientKey, *product);
    ProductLoginSession::KeysResult keys;
    if (error.isEmpty()) {
        keys = product->signingKeys();
        error = keys.error;
    }
    if (!error.isEmpty()) {
        m_logger.error(QStringLiteral("GetAccessToken failed: %1").arg(error));
        return false;
    }
    token = std::move(keys.keys.token);
    secret = std::move(keys.keys.tokenSecret);
    return true;
}

} // namespace Velquor::WebServices
