#include "Session/Operations/SignOutFlow.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Session/Operations/AccountExchange.h"
#include "Session/State/LoginCookies.h"
#include "Session/Store/LoginStateSaver.h"

namespace Velquor::WebServices::Internal {

namespace {
const auto accountServer = QStringLiteral("AccountServerUrl");
}

SignOutFlow::SignOutFlow(SessionState& state)
    : m_state(state)
    , m_logger(*state.services.loggers.session) {}

bool SignOutFlow::begin() {
    m_logger.information(QStringLiteral("Initiating logout"));
    if (m_state.isLoggedIn())
        return true;
    m_logger.error(QStringLiteral("Failed to initiate logout. Not logged in."));
    return false;
}

bool SignOutFlow::makeLogoutUrl(const QString& clientKey, QString& url, NetworkCookieJar& cookies) {
    ProductSessionPointer product = m_state.product(clientKey);
    if (!product || !product->tokens().areComplete())
        product = productWithTokens();
    const QUrl page(m_state.services.urls->endPoint(m_state.currentServer(), accountServer, QStringLiteral("LogoutEndPoint")));
    SigningKeys keys;
    const bool hasKeys = product && product->signingKeys(keys).isEmpty();
    const QUrl signedUrl = hasKeys ? signUrl(*m_state.services.oauthHost, page, keys) : QUrl();
    if (signedUrl.isEmpty()) {
        m_logger.error(QStringLiteral("Failed to initiate logout. Failed to sign url. Maybe this product is not logged in."));
        return false;
    }
    url = QString::fromLatin1(signedUrl.toEncoded());
    cookies = decryptCookies(m_state.basic().loginCookies, *m_state.services.cryptor, m_logger);
    m_logger.information(QStringLiteral("Returning %1 cookies in InitiateLogout").arg(cookies.GetCookieCount()));
    m_logger.information(QStringLiteral("Initiated logout successfully"));
    return true;
}

bool SignOutFlow::complete() {
    m_logger.information(QStringLiteral("Completing logout"));
    if (!m_state.isLoggedIn()) {
        m_logger.error(QStringLiteral("Failed to complete logout. Not logged in."));
        return false;
    }
    const BasicLoginState ended = m_state.basic();
    m_logger.information(QStringLiteral("Deleting all the caches since user logged out"));
    m_state.deleteCaches();
    m_logger.information(QStringLiteral("Deleting all product login sessions since user logged out"));
    m_state.forgetUser();
    if (!LoginStateSaver(m_state).endSignIn(ended))
        m_logger.error(QStringLiteral("Failed to save the sign-out to login state file %1. It will be tried again.")
                           .arg(m_state.file.path()));
    m_logger.information(QStringLiteral("Completed logout successfully"));
    return true;
}

ProductSessionPointer SignOutFlow::productWithTokens() const {
    const QVector<ProductSessionPointer> sessions = m_state.products.onServer(m_state.currentServer());
    for (const ProductSessionPointer& session : sessions) {
        if (session->configuration() && session->tokens().areComplete())
            return session;
    }
    return {};
}

QNetworkReply::NetworkError SignOutFlow::invalidateToken() {
    const ProductSessionPointer product = productWithTokens();
    if (!product) {
        m_logger.warning(
            QStringLiteral("Skipping logout in server. No product login session found with both config and access tokens."));
        return QNetworkReply::NoError;
    }
    const Util::SecretBytes handle = product->sessionHandle();
    if (handle.isEmpty()) {
        m_logger.error(QStringLiteral("Failed to logout in server. Failed to decrypt session handle."));
        return QNetworkReply::NoError;
    }
    return sendInvalidation(*product, handle);
}

QNetworkReply::NetworkError SignOutFlow::sendInvalidation(const ProductLoginSession& product, const Util::SecretBytes& handle) {
    m_logger.information(QStringLiteral("Starting logout in server using REST"));
    const QUrl url(
        m_state.services.urls->endPoint(m_state.currentServer(), accountServer, QStringLiteral("InvalidateTokenEndPoint")));
    SigningKeys keys;
    const AccountReply reply = product.signingKeys(keys).isEmpty()
                                   ? exchangeSignedGet(m_state.services, url, keys, {{"oauth_session_handle", handle.view()}})
                                   : AccountReply();
    if (reply.reply().isNull)
        m_logger.error(QStringLiteral("Failed to logout in server for product %1. Reply is null. Url: %2")
                           .arg(product.displayName(), displayUrl(url)));
    else if (!reply.hasStatus200())
        m_logger.error(QStringLiteral("Failed to logout in server for product %1. Failed to invalidate token in server. %2")
                           .arg(product.displayName(), reply.errorText() + reply.problemText()));
    else
        m_logger.information(QStringLiteral("Finished logout in server using REST"));
    return reply.reply().networkError;
}

} // namespace Velquor::WebServices::Internal
