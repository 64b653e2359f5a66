#include "Session/LoginSession.h"

#include "Session/LoginCookies.h"
#include "Session/LoginStateLoader.h"
#include "Session/LoginStateSaver.h"
#include "Session/ProductStateLoader.h"
#include "Session/SessionFlow.h"
#include "Session/SignOutFlow.h"
#include "Session/StateDump.h"
#include "Session/TokenOperations.h"
#include "Tokens/IRequestFlags.h"
#include "Values/WebServicesConfigurationImp.h"
#include "VqUtil/Ipc/ProcessState.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QMutexLocker>
#include <QThread>
#include <utility>

namespace Velquor::WebServices {

namespace {

SessionServices withCancel(SessionServices services) {
    services.exchangeCancel = std::make_shared<ICancelController>();
    return services;
}

} // namespace

LoginSession::LoginSession(const SessionServices& services, const ClientIdentity& self,
                           const QVector<OAuth2TokenSpec>& oauth2Specs)
    : m_core(withCancel(services), this)
    , m_dispatcher(services.logger, [this] { return m_core.isLoggedIn(); })
    , m_logger(*services.logger)
    , m_reactions(m_core) {
    qRegisterMetaType<WebServicesPrivateCore::WebServicesEvent>();
    connect(this, &LoginSession::CallObserversTrigger, this, &LoginSession::CallObserversSlot, Qt::QueuedConnection);
    connect(this, &LoginSession::LoggedIn, this, [this] { tellCaches(&CacheStore::LoggedIn); });
    connect(this, &LoginSession::LoginRestored, this, [this] { tellCaches(&CacheStore::LoginRestored); });
    connect(this, &LoginSession::LoggedOut, this, [this] { tellCaches(&CacheStore::LoggedOut); });
    connect(this, &LoginSession::TokenRefreshed, this, [this] { tellCaches(&CacheStore::TokenRefreshed); });
    AddClient(self);
    for (const OAuth2TokenSpec& spec : oauth2Specs)
        m_core.clients.enableOAuth2(self.clientKey, spec);
    if (services.notifiesProcesses)
        startNotifications();
}

LoginSession::~LoginSession() {
    m_logger.information(QStringLiteral("LoginSession destructor"));
    stop();
}

void LoginSession::stop() {
    m_core.isStopped = true;
    emit m_core.services.exchangeCancel->Canceled();
    stopNotifications();
    m_core.products.stopAll();
}

bool LoginSession::AddClient(const ClientIdentity& identity) {
    const QMutexLocker lock(&m_core.lock);
    m_core.clients.add(identity);
    return true;
}

bool LoginSession::RemoveClient(const QString& clientKey) {
    const QMutexLocker lock(&m_core.lock);
    const QString name = m_core.clients.displayName(clientKey);
    m_logger.information(QStringLiteral("Removing client %1").arg(name));
    if (const ProductSessionPointer product = m_core.product(clientKey)) {
        product->RemoveClientReference(clientKey);
        // Another client of this process may be the same product.
        if (product->clientReferences().isEmpty()) {
            m_logger.information(QStringLiteral("Deleting product login session for product %1, server %2")
                                     .arg(name, serverName(product->server())));
            m_core.products.remove(product->productKey(), product->server());
        }
    }
    m_core.clients.remove(clientKey);
    return true;
}

bool LoginSession::requireClient(const QString& clientKey) const {
    const bool isKnown = isClient(clientKey);
    if (!isKnown)
        m_logger.error(QStringLiteral("Client info not found for client key %1.").arg(clientKey));
    return isKnown;
}

ConfigurationPointer LoginSession::configuration(const QString& clientKey) const {
    return m_core.clients.configuration(clientKey, m_core.currentServer());
}

bool LoginSession::SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration) {
    const auto copy = std::make_shared<const WebServicesConfiguration>(configuration);
    if (clientKey.isEmpty() || !WebServicesConfigurationImp::of(*copy).isValid()) {
        m_logger.error(QStringLiteral(
            "Failed to set configuration. The client key, the consumer key or the consumer secret is empty, or the server is not valid."));
        return false;
    }
    const QMutexLocker lock(&m_core.lock);
    const QString server = serverName(copy->GetServer());
    if (!m_core.clients.contains(clientKey)) {
        m_logger.error(QStringLiteral("Failed to set configuration for %1 server. Client info not found for client key %2.")
                           .arg(server, clientKey));
        return false;
    }
    m_logger.information(QStringLiteral("Setting configuration for %1 server").arg(server));
    m_core.clients.setConfiguration(clientKey, copy);
    QString skipped;
    if (copy->GetServer() != m_core.currentServer())
        skipped = QStringLiteral("Configuration is set for %1 server. Skipping token query check since current server is %2.")
                      .arg(server, serverName(m_core.currentServer()));
    else if (!m_core.isRestored())
        skipped = QStringLiteral(
                      "Configuration is set for %1 server. Skipping token query check since login state is not yet restored.")
                      .arg(server);
    else if (!m_core.isLoggedIn())
        skipped = QStringLiteral("Configuration is set for %1 server. Skipping token query check since not logged in currently.")
                      .arg(server);
    if (!skipped.isEmpty()) {
        m_logger.information(skipped);
        return true;
    }
    ProductStateLoader(m_core).loadProduct(clientKey);
    m_logger.information(QStringLiteral("creating product login session if login is already restored and currently logged in."));
    if (const ProductSessionPointer product = m_core.configuredProduct(clientKey))
        product->CheckTokensToQuery(m_core);
    return true;
}

bool LoginSession::ChangeServer(const QString& clientKey, Server server, bool persist) {
    if (!m_core.isRestored() && !persist) {
        const QMutexLocker lock(&m_core.lock);
        m_isBasicLoaded = true;
        m_core.setCurrentServer(server);
        return true;
    }
    if (!m_core.isRestored())
        RestoreLogin(clientKey, false);
    const Server before = m_core.currentServer();
    if (server == before)
        return true;
    m_logger.information(QStringLiteral("Changing server from %1 to %2").arg(serverName(before), serverName(server)));
    if (isRealServer(before) && m_core.isLoggedIn()) {
        m_logger.information(
            QStringLiteral("Currently logged in to %1 server. Logging out from this server to change server to %2.")
                .arg(serverName(before), serverName(server)));
        QNetworkReply::NetworkError error = QNetworkReply::NoError;
        if (!Logout(clientKey, error, true)) {
            m_logger.error(QStringLiteral("Failed to change server from %1 to %2. Failed to logout from current server.")
                               .arg(serverName(before), serverName(server)));
            return false;
        }
    }
    {
        const QMutexLocker lock(&m_core.lock);
        m_core.setCurrentServer(server);
        if (persist)
            LoginStateSaver(m_core).save();
    }
    RaiseEvent(Event::ServerChanged, m_core.subjectKey(clientKey), persist);
    m_logger.information(QStringLiteral("Server successfully changed from %1 to %2").arg(serverName(before), serverName(server)));
    return true;
}

void LoginSession::loadBasicOnce() {
    if (m_core.isRestored())
        return;
    const QMutexLocker lock(&m_core.lock);
    if (!std::exchange(m_isBasicLoaded, true))
        LoginStateLoader(m_core).loadBasic();
}

Server LoginSession::currentServer() {
    loadBasicOnce();
    return m_core.currentServer();
}

bool LoginSession::RestoreLogin(const QString& clientKey, bool force) {
    {
        const QMutexLocker lock(&m_core.lock);
        if (m_core.isRestored() && !force) {
            if (!ProductStateLoader(m_core).loadProduct(clientKey))
                m_logger.information(
                    QStringLiteral("This should not happen, otherwise need check any corner case is not covered. TBD."));
            m_logger.information(QStringLiteral("Ignoring restore login. Login state is already restored for all products."));
            return true;
        }
        m_logger.information(QStringLiteral("Restoring login state for all products"));
        LoginStateLoader(m_core).loadAll(true);
        const Server server = m_core.currentServer();
        if (!isRealServer(server))
            return false;
        m_core.configureProducts();
        m_core.setRestored();
    }
    RaiseEvent(Event::LoginRestored, m_core.subjectKey(clientKey), false);
    oauth2().reportToken(clientKey);
    m_logger.information(QStringLiteral("Login restored for all products"));
    return true;
}

InitiatedLogin LoginSession::InitiateLogin(const QString& clientKey, const QString& ldapDomainKey) {
    catchUp();
    const SessionFlow flow(m_core, "InitiateLogin");
    return flow.isEntered() ? SignInFlow(m_core).initiate(clientKey, ldapDomainKey)
                            : InitiatedLogin{LoginCode::notReady, {}, LoginErrorEx::NotReady, 0};
}

int LoginSession::CompleteLogin(const QString& clientKey, const NetworkCookieJar* cookies) {
    catchUp();
    int code = LoginCode::exchangeFailed;
    {
        const SessionFlow flow(m_core, "CompleteLogin");
        if (flow.isEntered())
            code = SignInFlow(m_core).complete(clientKey, cookies);
    }
    if (code != LoginCode::success)
        return code;
    {
        // The other products of this process can use the new sign-in.
        const QMutexLocker lock(&m_core.lock);
        m_core.configureProducts();
    }
    RaiseEvent(Event::LoggedIn, m_core.subjectKey(clientKey), true);
    return code;
}

bool LoginSession::InitiateLogout(const QString& clientKey, QString& url, NetworkCookieJar& cookies) {
    catchUp();
    if (!SignOutFlow(m_core).begin())
        return false;
    if (isLogoutVetoed(m_core.subjectKey(clientKey))) {
        m_logger.information(QStringLiteral("Logout canceled. Some observer vetoed logout in AboutToLogout event."));
        return false;
    }
    const SessionFlow flow(m_core, "InitiateLogout");
    return flow.isEntered() && SignOutFlow(m_core).makeLogoutUrl(clientKey, url, cookies);
}

bool LoginSession::CompleteLogout(const QString& clientKey) {
    {
        const SessionFlow flow(m_core, "CompleteLogout");
        if (!flow.isEntered() || !SignOutFlow(m_core).complete())
            return false;
    }
    // What other processes have begun for the user is of no use any more. A refresh tells its own end.
    if (m_core.services.processState)
        m_core.services.processState->deletePropertiesInAllProcesses(
            {RequestFlag::tokenQuery, RequestFlag::oauth2Query, RequestFlag::oauth2Refresh, RequestFlag::oauth2JwtRefresh});
    RaiseEvent(Event::LoggedOut, m_core.subjectKey(clientKey), true);
    return true;
}

bool LoginSession::isCompanionLoaded() const {
    return !Util::loadedModulePath(QStringLiteral("VqWebServicesUI.dll")).isEmpty();
}

bool LoginSession::Logout(const QString& clientKey, QNetworkReply::NetworkError& error, bool force) {
    error = QNetworkReply::NoError;
    const QString user = m_core.basic().userName;
    m_logger.information(QStringLiteral("Logging out user %1 (using REST)").arg(user));
    if (isCompanionLoaded() && !force) {
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
        const SessionFlow flow(m_core, "Logout");
        if (!flow.isEntered())
            return false;
        m_core.isLogoutPending = true;
        error = SignOutFlow(m_core).invalidateToken();
    }
    const bool completed = CompleteLogout(clientKey);
    m_core.isLogoutPending = false;
    if (!completed)
        return false;
    m_logger.information(QStringLiteral("Logged out user %1 successfully in this process (using REST)").arg(user));
    return true;
}

QByteArray LoginSession::SignRequest(const QString& clientKey, const SigningOrder& order) {
    catchUp();
    return RequestSigning(m_core).SignRequest(clientKey, order);
}

bool LoginSession::GetAccessToken(const QString& clientKey, bool checkExpiry, Util::SecretBytes& token,
                                  Util::SecretBytes& secret) {
    catchUp();
    return RequestSigning(m_core).GetAccessToken(clientKey, checkExpiry, token, secret);
}

bool LoginSession::RefreshToken(const QString& clientKey, bool synchronous) {
    catchUp();
    const ProductSessionPointer product = m_core.product(clientKey);
    TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations && !(synchronous && m_core.isInsideFlow()) && operations->refreshToken(synchronous, RefreshWorker::Reason::Wished);
}

bool LoginSession::isTokenRefreshTimerActive(const QString& clientKey) const {
    const ProductSessionPointer product = m_core.product(clientKey);
    const TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations && operations->isTokenRefreshTimerActive();
}

bool LoginSession::isLoggedIn(const QString& clientKey) {
    catchUp();
    return m_core.isLoggedIn(clientKey);
}

bool LoginSession::isLoginValid(const QString& clientKey) {
    catchUp();
    return m_core.isLoginValid(clientKey);
}

bool LoginSession::isLoginExpired() {
    catchUp();
    return m_core.isLoginExpired();
}

BasicLoginState LoginSession::basicState() {
    loadBasicOnce();
    catchUp();
    return m_core.basic();
}

ProductTokens LoginSession::tokens(const QString& clientKey) {
    catchUp();
    const ProductSessionPointer product = m_core.product(clientKey);
    return product ? product->tokens() : ProductTokens();
}

QJsonObject LoginSession::stateDump() { return dumpState(m_core); }

NetworkCookieJar LoginSession::loginCookies() {
    return decryptCookies(basicState().loginCookies, *m_core.services.cryptor, m_logger);
}

} // namespace Velquor::WebServices
