#include "Session/Operations/SignOutFlow.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Session/Core/NetworkStepGuard.h"
#include "Session/Operations/AccountExchange.h"
#include "Session/State/LoginCookies.h"
#include "Session/Store/LoginStateStore.h"
#include "Tokens/IRequestFlags.h"
#include "VqLog/CallReport.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/ProcessState/ProcessState.h"

namespace Velquor::WebServices::Internal {

using Event = WebServicesPrivateCore::WebServicesEvent;

namespace {

const auto accountServer = QStringLiteral("AccountServerUrl");

bool isCompanionLoaded() {
    return !Util::loadedModulePath(QStringLiteral("VqWebServicesUI.dll")).isEmpty();
}

} // namespace

SignOutFlow::SignOutFlow(SessionState& state)
    : m_state(state)
    , m_logger(*state.services().loggers.session) {}

bool SignOutFlow::logOut(const QString& clientKey, QNetworkReply::NetworkError& error, const Terms& terms) {
    error = QNetworkReply::NoError;
    const QString user = m_state.basic().userName;
    m_logger.information(QStringLiteral("Logging out user %1 (using REST)").arg(user));
    if (isCompanionLoaded() && !m_state.services().isSSOServer && !terms.isForced) {
        m_logger.error(QStringLiteral(
            "Failed to logout. VqWebServicesUI module loaded in the process. Please call WebServicesUIManager::Logout instead of WebServicesManager::Logout."));
        return false;
    }
    if (!initiate(clientKey)) {
        m_logger.error(QStringLiteral("Aborting logout. Failed to initiate logout."));
        return false;
    }
    bool isCompleted = false;
    {
        NetworkStepGuard step(m_state, "Logout");
        if (!step.isEntered())
            return false;
        // While the observers were called and this thread waited for the lock, another user may have signed in.
        if (!terms.onlySignIn.isEmpty() && m_state.signInId() != terms.onlySignIn) {
            m_logger.warning(QStringLiteral("Aborting logout. Another sign-in has taken the place of the one to be ended."));
            return false;
        }
        m_state.beginLogout();
        const QString ended = m_state.signInId();
        error = invalidateToken();
        // In the same step, or another sign-out would ask the server for the same in between, and wait as long for it.
        isCompleted = forgetSignIn(step.state(), ended, terms.onlySignIn.isEmpty() ? EndedBy::User : EndedBy::Others);
    }
    if (isCompleted)
        announceEnd(clientKey);
    m_state.endLogout();
    if (!isCompleted)
        return false;
    m_logger.information(QStringLiteral("Logged out user %1 successfully in this process (using REST)").arg(user));
    return true;
}

std::optional<LogoutPage> SignOutFlow::initiate(const QString& clientKey) {
    m_logger.information(QStringLiteral("Initiating logout"));
    if (!m_state.isLoggedIn()) {
        Log::CallReport::fail(Log::CallFailure::NotSignedIn);
        m_logger.error(QStringLiteral("Failed to initiate logout. Not logged in."));
        return {};
    }
    // The step that is under way on this thread would refuse the rest, when the observers were called already.
    if (m_state.isInsideNetworkStep()) {
        Log::CallReport::fail(Log::CallFailure::Busy);
        m_logger.error(QStringLiteral("InitiateLogout failed. Another sign-in or sign-out is under way on this thread."));
        return {};
    }
    if (m_state.events().isLogoutVetoed(m_state.subjectKey(clientKey))) {
        Log::CallReport::fail(Log::CallFailure::Vetoed);
        m_logger.information(QStringLiteral("Logout canceled. Some observer vetoed logout in AboutToLogout event."));
        return {};
    }
    m_state.events().raiseEventHere(Event::LoggingOut, m_state.subjectKey(clientKey));
    const NetworkStepGuard step(m_state, "InitiateLogout");
    return step.isEntered() ? makeLogoutPage(clientKey) : std::nullopt;
}

std::optional<LogoutPage> SignOutFlow::makeLogoutPage(const QString& clientKey) {
    ProductSessionPointer product = m_state.product(clientKey);
    if (!product || !product->tokens().areComplete())
        product = productWithTokens();
    const QUrl page(m_state.services().urls->endPoint(m_state.currentServer(), accountServer, QStringLiteral("LogoutEndPoint")));
    const Util::Result<SigningKeys> keys = product ? product->signingKeys() : Util::Failure{};
    const QUrl signedUrl = keys ? signUrl(*m_state.services().oauthHost, page, *keys) : QUrl();
    if (signedUrl.isEmpty()) {
        Log::CallReport::fail(Log::CallFailure::SigningFailed);
        m_logger.error(QStringLiteral("Failed to initiate logout. Failed to sign url. Maybe this product is not logged in."));
        return {};
    }
    LogoutPage made{QString::fromLatin1(signedUrl.toEncoded()),
                    decryptCookies(m_state.basic().loginCookies, *m_state.services().cryptor, m_logger)};
    m_logger.information(QStringLiteral("Returning %1 cookies in InitiateLogout").arg(made.cookies.GetCookieCount()));
    m_logger.information(QStringLiteral("Initiated logout successfully"));
    return made;
}

bool SignOutFlow::complete(const QString& clientKey, const QString& onlySignIn, EndedBy who) {
    {
        NetworkStepGuard step(m_state, "CompleteLogout");
        if (!step.isEntered() || !forgetSignIn(step.state(), onlySignIn, who))
            return false;
    }
    announceEnd(clientKey);
    return true;
}

bool SignOutFlow::forgetSignIn(LockedState& state, const QString& onlySignIn, EndedBy who) {
    // Calls that ran on this thread during the exchange may have taken over another process's sign-in.
    if (onlySignIn.isEmpty() || m_state.signInId() == onlySignIn)
        return forgetUser(state, who);
    m_logger.warning(QStringLiteral("Aborting logout. Another sign-in has taken the place of the one to be ended."));
    return false;
}

void SignOutFlow::announceEnd(const QString& clientKey) {
    // What other processes have begun for the user is of no use any more. A refresh clears its flag itself.
    if (m_state.services().processState)
        m_state.services().processState->deletePropertiesInAllProcesses(
            {RequestFlag::tokenQuery, RequestFlag::oauth2Query, RequestFlag::oauth2Refresh, RequestFlag::oauth2JwtRefresh});
    m_state.events().raiseEvent(Event::LoggedOut, EventSubject::ofStateChange(m_state.subjectKey(clientKey)));
}

bool SignOutFlow::forgetUser(LockedState& state, EndedBy who) {
    m_logger.information(QStringLiteral("Completing logout"));
    if (!m_state.isLoggedIn()) {
        Log::CallReport::fail(Log::CallFailure::NotSignedIn);
        m_logger.error(QStringLiteral("Failed to complete logout. Not logged in."));
        return false;
    }
    const BasicLoginState ended = m_state.basic();
    m_logger.information(QStringLiteral("Deleting all the caches since user logged out"));
    state.deleteCaches();
    m_logger.information(QStringLiteral("Deleting all product login sessions since user logged out"));
    state.forgetUser();
    if (!LoginStateStore(state).endSignIn(ended, who))
        m_logger.error(QStringLiteral("Failed to save the sign-out to login state file %1. It will be tried again.")
                           .arg(state.file().path()));
    m_logger.information(QStringLiteral("Completed logout successfully"));
    return true;
}

ProductSessionPointer SignOutFlow::productWithTokens() const {
    const QVector<ProductSessionPointer> sessions = m_state.products().onServer(m_state.currentServer());
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
        m_state.services().urls->endPoint(m_state.currentServer(), accountServer, QStringLiteral("InvalidateTokenEndPoint")));
    const Util::Result<SigningKeys> keys = product.signingKeys();
    const AccountReply reply =
        keys ? exchangeSignedGet(m_state.services(), url, *keys, {{"oauth_session_handle", handle.view()}}) : AccountReply();
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
