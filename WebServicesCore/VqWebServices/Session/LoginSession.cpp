#include "Session/LoginSession.h"

#include "Session/Core/NetworkStepGuard.h"
#include "Session/Operations/ClientSetup.h"
#include "Session/Operations/ProductConfigurator.h"
#include "Session/Operations/ProductStateLoader.h"
#include "Session/Operations/SignOutFlow.h"
#include "Session/Operations/StateDump.h"
#include "Session/Products/TokenOperations.h"
#include "Session/State/LoginCookies.h"
#include "Session/Store/LoginStateReader.h"
#include "Session/Store/LoginStateStore.h"
#include "VqLog/CallReport.h"
#include "VqUtil/Threads/HostWake.h"

#include <QTimer>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// A forced sign-out that comes in the middle of another step is tried again after this time.
constexpr int retryLogoutMs = 100;

SessionDependencies withCancel(SessionDependencies services) {
    services.exchangeCancel = std::make_shared<ICancelController>();
    return services;
}

} // namespace

LoginSession::LoginSession(const SessionDependencies& services, const ClientIdentity& self,
                           const QVector<OAuth2TokenSpec>& oauth2Specs)
    : m_state(withCancel(services), this)
    , m_logger(*services.loggers.session)
    , m_follower(m_state)
    , m_reactions(m_state)
    , m_events(m_state, [this] { return weak_from_this().lock(); }) {
    connect(&m_events, &LoginSessionEvents::LoggedIn, this, [this] { notifyCaches(&CacheStore::LoggedIn); });
    connect(&m_events, &LoginSessionEvents::LoginRestored, this, [this] { notifyCaches(&CacheStore::LoginRestored); });
    connect(&m_events, &LoginSessionEvents::LoggedOut, this, [this] { notifyCaches(&CacheStore::LoggedOut); });
    connect(&m_events, &LoginSessionEvents::TokenRefreshed, this,
            [this](const QString& consumerKey) { notifyCaches(&CacheStore::TokenRefreshed, consumerKey); });
    // The single-sign-on server is no client itself: the processes that it serves are added to it.
    if (!services.isSSOServer) {
        AddClient(self);
        for (const OAuth2TokenSpec& spec : oauth2Specs)
            m_state.clients().enableOAuth2(self.clientKey, spec);
    }
    if (services.notifiesProcesses)
        m_events.startNotifications(m_reactions);
}

LoginSession::~LoginSession() {
    stop();
}

void LoginSession::stop() {
    // The destruction begins here. The object itself may go later, with the last call that still uses it.
    if (!m_state.isStopped())
        m_logger.information(QStringLiteral("LoginSession destructor"));
    m_state.setStopped();
    emit m_state.services().exchangeCancel->Canceled();
    m_events.stopNotifications();
    m_follower.saveRemainder();
    m_state.stopProducts();
}

void LoginSession::loadBasicOnce() {
    if (m_state.isRestored())
        return;
    LockedState state(m_state);
    if (!std::exchange(m_isBasicLoaded, true))
        LoginStateReader(state).loadBasic();
}

bool LoginSession::AddClient(const ClientIdentity& identity) {
    const LockedState state(m_state);
    m_state.clients().add(identity);
    return true;
}

bool LoginSession::RemoveClient(const QString& clientKey) {
    ClientSetup(m_state).remove(clientKey);
    return true;
}

bool LoginSession::requireClient(const QString& clientKey) const {
    const bool isKnown = isClient(clientKey);
    if (!isKnown) {
        Log::CallReport::fail(Log::CallFailure::UnknownClient);
        m_logger.error(QStringLiteral("Client info not found for client key %1.").arg(clientKey));
    }
    return isKnown;
}

bool LoginSession::SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration) {
    return ClientSetup(m_state).setConfiguration(clientKey, configuration);
}

ConfigurationPointer LoginSession::configuration(const QString& clientKey) const {
    return m_state.clients().configuration(clientKey, m_state.currentServer());
}

Server LoginSession::currentServer() {
    loadBasicOnce();
    return m_state.currentServer();
}

bool LoginSession::ChangeServer(const QString& clientKey, Server server, bool persist) {
    if (!m_state.isRestored() && !persist) {
        LockedState state(m_state);
        m_isBasicLoaded = true;
        state.setCurrentServer(server);
        return true;
    }
    if (!m_state.isRestored())
        RestoreLogin(clientKey, false);
    const Server before = m_state.currentServer();
    if (server == before)
        return true;
    m_logger.information(QStringLiteral("Changing server from %1 to %2").arg(serverName(before), serverName(server)));
    if (isRealServer(before) && m_state.isLoggedIn()) {
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
        LockedState state(m_state);
        state.setCurrentServer(server);
        if (persist)
            LoginStateStore(state).saveServer();
    }
    // The login could not be restored while there was no server.
    if (persist && !m_state.isRestored() && !RestoreLogin(clientKey, false)) {
        m_logger.error(QStringLiteral("Failed to change server from %1 to %2. Failed to save it to the login state file.")
                           .arg(serverName(before), serverName(server)));
        return false;
    }
    m_events.RaiseEvent(Event::ServerChanged, m_state.subjectKey(clientKey), persist);
    m_logger.information(QStringLiteral("Server successfully changed from %1 to %2").arg(serverName(before), serverName(server)));
    return true;
}

bool LoginSession::RestoreLogin(const QString& clientKey, bool force) {
    const QString before = m_state.isLoggedIn() ? m_state.signInId() : QString();
    {
        LockedState state(m_state);
        if (m_state.isRestored() && !force) {
            if (ProductStateLoader(state).loadProduct(clientKey))
                (void)ProductConfigurator(state).configure(clientKey);
            else
                m_logger.information(
                    QStringLiteral("This should not happen, otherwise need check any corner case is not covered. TBD."));
            m_logger.information(QStringLiteral("Ignoring restore login. Login state is already restored for all products."));
            return true;
        }
        m_logger.information(QStringLiteral("Restoring login state for all products"));
        LoginStateReader(state).restore();
        const Server server = m_state.currentServer();
        if (!isRealServer(server))
            return false;
        ProductConfigurator(state).configureAll();
        state.setRestored();
    }
    // A sign-in that was followed before the restore, or that a forced restore has found ended.
    if (!before.isEmpty() && m_state.signInId() != before)
        raiseEventHere(Event::LoggedOut, QString());
    raiseEventHere(Event::LoginRestored, m_state.subjectKey(clientKey));
    oauth2().reportToken(clientKey);
    m_logger.information(QStringLiteral("Login restored for all products"));
    return true;
}

void LoginSession::RaiseEvent(Event event, const QString& consumerKey, bool sendToOthers) {
    EventSubject subject(consumerKey);
    if (event == Event::LoggedIn || event == Event::LoggedOut)
        subject.isStateChange = false;
    if (isAboutOneToken(event))
        subject.oauth2Spec = oauth2().defaultSpecOf(consumerKey);
    m_events.RaiseEvent(event, subject, sendToOthers);
}

InitiatedLogin LoginSession::InitiateLogin(const QString& clientKey, const QString& ldapDomainKey) {
    NetworkStepGuard step(m_state, "InitiateLogin");
    return step.isEntered() ? SignInFlow(step.state()).initiate(clientKey, ldapDomainKey)
                            : InitiatedLogin{LoginCode::notReady, {}, LoginErrorEx::NotReady, 0};
}

int LoginSession::CompleteLogin(const QString& clientKey, const NetworkCookieJar* cookies) {
    int code = LoginCode::exchangeFailed;
    {
        NetworkStepGuard step(m_state, "CompleteLogin");
        if (step.isEntered())
            code = SignInFlow(step.state()).complete(clientKey, cookies);
    }
    if (code != LoginCode::success)
        return code;
    {
        // The other products of this process may use the new sign-in.
        LockedState state(m_state);
        ProductConfigurator(state).configureAll();
    }
    raiseEvent(Event::LoggedIn, EventSubject::ofStateChange(m_state.subjectKey(clientKey)));
    return code;
}

bool LoginSession::InitiateLogout(const QString& clientKey, QString& url, NetworkCookieJar& cookies) {
    const std::optional<LogoutPage> page = SignOutFlow(m_state).initiate(clientKey);
    if (!page)
        return false;
    url = page->url;
    cookies = page->cookies;
    return true;
}

bool LoginSession::CompleteLogout(const QString& clientKey) {
    return SignOutFlow(m_state).complete(clientKey);
}

bool LoginSession::Logout(const QString& clientKey, QNetworkReply::NetworkError& error, bool force) {
    return SignOutFlow(m_state).logOut(clientKey, error, {force, QString()});
}

void LoginSession::forceLogout(const QString& productKey, const QString& signInId) {
    m_state.beginLogout();
    QMetaObject::invokeMethod(
        this, [this, productKey, signInId] { LogoutSlot(productKey, signInId); }, Qt::QueuedConnection);
    Util::HostWake::instance().wake();
}

void LoginSession::LogoutSlot(const QString& productKey, const QString& signInId) {
    const auto self = weak_from_this().lock();
    // A sign-in that waits on this thread let this call in. The sign-in that is to be ended may be replaced by it.
    if (m_state.isInsideNetworkStep() && !m_state.isStopped()) {
        QTimer::singleShot(retryLogoutMs, this, [this, productKey, signInId] { LogoutSlot(productKey, signInId); });
        return;
    }
    // The main thread may have been busy for long. End the sign-in only if it is still the unusable one.
    followFile();
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    if (!m_state.isStopped() && m_state.isLoggedIn() && m_state.signInId() == signInId
        && !SignOutFlow(m_state).logOut(productKey, error, {true, signInId}))
        m_logger.error(QStringLiteral("Failed to log out a user whose sign-in cannot be used any more."));
    m_state.endLogout();
}

QByteArray LoginSession::SignRequest(const QString& clientKey, const SigningOrder& order) {
    return RequestSigning(m_state).SignRequest(clientKey, order);
}

bool LoginSession::GetAccessToken(const QString& clientKey, bool checkExpiry, Util::SecretBytes& token,
                                  Util::SecretBytes& secret) {
    return RequestSigning(m_state).GetAccessToken(clientKey, checkExpiry, token, secret);
}

bool LoginSession::RefreshToken(const QString& clientKey, bool synchronous) {
    const ProductSessionPointer product = m_state.product(clientKey);
    TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations && !(synchronous && m_state.isInsideNetworkStep())
           && operations->refreshToken(synchronous, RefreshWorker::Reason::Requested);
}

bool LoginSession::isTokenRefreshTimerActive(const QString& clientKey) const {
    const ProductSessionPointer product = m_state.product(clientKey);
    const TokenOperations* const operations = product ? product->operations() : nullptr;
    return operations && operations->isTokenRefreshTimerActive();
}

BasicLoginState LoginSession::basicState() {
    loadBasicOnce();
    return m_state.basic();
}

ProductTokens LoginSession::tokens(const QString& clientKey) {
    const ProductSessionPointer product = m_state.product(clientKey);
    return product ? product->tokens() : ProductTokens();
}

NetworkCookieJar LoginSession::loginCookies() {
    return decryptCookies(basicState().loginCookies, *m_state.services().cryptor, m_logger);
}

QJsonObject LoginSession::stateDump() {
    return dumpState(m_state);
}

bool LoginSession::SetProxyAuthentication(const QString& host, int port, const QString& user, const QString& password) {
    LockedState state(m_state);
    return state.proxy().SetProxyAuthentication(host, port, user, password);
}

bool LoginSession::ClearProxyInfo() {
    LockedState state(m_state);
    return state.proxy().ClearProxyInfo();
}

void LoginSession::loadProxyInfo() {
    LockedState state(m_state);
    state.proxy().loadFromFile();
}

ProxyLogin LoginSession::findProxyLogin(const ProxyAddress& proxy, const RefusedLogins& refused) const {
    return m_state.isStopped() ? ProxyLogin() : m_state.proxy().find(proxy, refused);
}

void LoginSession::keepProxyLogin(const ProxyAddress& proxy, const ProxyLogin& login) {
    if (m_state.isStopped())
        return;
    // A sign-in holds the lock while it waits for the network, and that exchange may need this proxy login.
    if (LockedState state(m_state, 0); state.isHeld()) {
        state.proxy().SetProxyAuthentication(proxy.host, proxy.port, login.user, login.password);
        return;
    }
    QMetaObject::invokeMethod(
        this, [this, proxy, login] { SetProxyAuthentication(proxy.host, proxy.port, login.user, login.password); },
        Qt::QueuedConnection);
    Util::HostWake::instance().wake();
}

void LoginSession::notifyCaches(CacheClient::Event event, const QString& productKey) {
    const QVector<ProductSessionPointer> products = m_state.products().all();
    for (const ProductSessionPointer& product : products) {
        if (!productKey.isEmpty() && product->productKey() != productKey)
            continue;
        if (TokenOperations* const operations = product->operations())
            operations->caches().post(event);
    }
}

} // namespace Velquor::WebServices::Internal
