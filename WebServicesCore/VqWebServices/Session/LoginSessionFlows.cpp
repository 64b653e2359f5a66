// The part of the login session that takes the steps of a restore, a sign-in and a sign-out.

#include "Session/LoginSession.h"

#include "Session/Operations/NetworkStepGuard.h"
#include "Session/Operations/SignOutFlow.h"
#include "Session/Store/LoginStateLoader.h"
#include "Session/Store/ProductStateLoader.h"
#include "Tokens/IRequestFlags.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <QMutexLocker>

namespace Velquor::WebServices::Internal {

bool LoginSession::RestoreLogin(const QString& clientKey, bool force) {
    catchUp();
    {
        const QMutexLocker lock(&m_state.lock);
        if (m_state.isRestored() && !force) {
            if (!ProductStateLoader(m_state).loadProduct(clientKey))
                m_logger.information(
                    QStringLiteral("This should not happen, otherwise need check any corner case is not covered. TBD."));
            m_logger.information(QStringLiteral("Ignoring restore login. Login state is already restored for all products."));
            return true;
        }
        m_logger.information(QStringLiteral("Restoring login state for all products"));
        LoginStateLoader(m_state).loadAll(true);
        const Server server = m_state.currentServer();
        if (!isRealServer(server))
            return false;
        m_state.configureProducts();
        m_state.setRestored();
    }
    RaiseEvent(Event::LoginRestored, m_state.subjectKey(clientKey), false);
    oauth2().reportToken(clientKey);
    m_logger.information(QStringLiteral("Login restored for all products"));
    return true;
}

InitiatedLogin LoginSession::InitiateLogin(const QString& clientKey, const QString& ldapDomainKey) {
    catchUp();
    const NetworkStepGuard flow(m_state, "InitiateLogin");
    return flow.isEntered() ? SignInFlow(m_state).initiate(clientKey, ldapDomainKey)
                            : InitiatedLogin{LoginCode::notReady, {}, LoginErrorEx::NotReady, 0};
}

int LoginSession::CompleteLogin(const QString& clientKey, const NetworkCookieJar* cookies) {
    catchUp();
    int code = LoginCode::exchangeFailed;
    {
        const NetworkStepGuard flow(m_state, "CompleteLogin");
        if (flow.isEntered())
            code = SignInFlow(m_state).complete(clientKey, cookies);
    }
    if (code != LoginCode::success)
        return code;
    {
        // The other products of this process can use the new sign-in.
        const QMutexLocker lock(&m_state.lock);
        m_state.configureProducts();
    }
    RaiseEvent(Event::LoggedIn, m_state.subjectKey(clientKey), true);
    return code;
}

bool LoginSession::InitiateLogout(const QString& clientKey, QString& url, NetworkCookieJar& cookies) {
    catchUp();
    if (!SignOutFlow(m_state).begin())
        return false;
    if (isLogoutVetoed(m_state.subjectKey(clientKey))) {
        m_logger.information(QStringLiteral("Logout canceled. Some observer vetoed logout in AboutToLogout event."));
        return false;
    }
    RaiseEvent(Event::LoggingOut, m_state.subjectKey(clientKey), false);
    const NetworkStepGuard flow(m_state, "InitiateLogout");
    return flow.isEntered() && SignOutFlow(m_state).makeLogoutUrl(clientKey, url, cookies);
}

bool LoginSession::CompleteLogout(const QString& clientKey) {
    {
        const NetworkStepGuard flow(m_state, "CompleteLogout");
        if (!flow.isEntered() || !SignOutFlow(m_state).complete())
            return false;
    }
    // What other processes have begun for the user is of no use any more. A refresh tells its own end.
    if (m_state.services.processState)
        m_state.services.processState->deletePropertiesInAllProcesses(
            {RequestFlag::tokenQuery, RequestFlag::oauth2Query, RequestFlag::oauth2Refresh, RequestFlag::oauth2JwtRefresh});
    RaiseEvent(Event::LoggedOut, m_state.subjectKey(clientKey), true);
    return true;
}

bool LoginSession::isCompanionLoaded() const {
    return !Util::loadedModulePath(QStringLiteral("VqWebServicesUI.dll")).isEmpty();
}

bool LoginSession::Logout(const QString& clientKey, QNetworkReply::NetworkError& error, bool force) {
    return logOut(clientKey, error, force, QString());
}

bool LoginSession::logOut(const QString& clientKey, QNetworkReply::NetworkError& error, bool force, const QString& onlySignIn) {
    error = QNetworkReply::NoError;
    const QString user = m_state.basic().userName;
    m_logger.information(QStringLiteral("Logging out user %1 (using REST)").arg(user));
    if (isCompanionLoaded() && !m_state.services.isSSOServer && !force) {
        m_logger.error(QStringLiteral(
            "Failed to logout. VqWebServicesUI module loaded in the process. Please call WebServicesUIManager::Logout instead of WebServicesManager::Logout."));
        return false;
    }
    QString url;
    NetworkCookieJar cookies;
    if (!InitiateLogout(clientKey, url, cookies)) {
        m_logger.error(QStringLiteral("Aborting logout. Failed to initiate logout."));
        return false;
    }
    {
        const NetworkStepGuard flow(m_state, "Logout");
        if (!flow.isEntered())
            return false;
        // The observers, and the wait for the lock, gave time for another sign-in.
        if (!onlySignIn.isEmpty() && m_state.signInId() != onlySignIn) {
            m_logger.warning(QStringLiteral("Aborting logout. Another sign-in has taken the place of the one to be ended."));
            return false;
        }
        ++m_state.pendingLogouts;
        error = SignOutFlow(m_state).invalidateToken();
    }
    const bool completed = CompleteLogout(clientKey);
    --m_state.pendingLogouts;
    if (!completed)
        return false;
    m_logger.information(QStringLiteral("Logged out user %1 successfully in this process (using REST)").arg(user));
    return true;
}

} // namespace Velquor::WebServices::Internal
