#include "Session/LoginSession.h"

#include "Session/Operations/StateDump.h"
#include "Session/Products/TokenOperations.h"
#include "Session/State/LoginCookies.h"
#include "Session/Store/LoginStateLoader.h"

#include <QMutexLocker>
#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

SessionDependencies withCancel(SessionDependencies services) {
    services.exchangeCancel = std::make_shared<ICancelController>();
    return services;
}

} // namespace

LoginSession::LoginSession(const SessionDependencies& services, const ClientIdentity& self,
                           const QVector<OAuth2TokenSpec>& oauth2Specs)
    : m_state(withCancel(services), this)
    , m_dispatcher(
          services.loggers.session, [this] { return m_state.isLoggedIn(); }, [this] { return m_state.isStopped.load(); })
    , m_logger(*services.loggers.session)
    , m_reactions(m_state) {
    qRegisterMetaType<WebServicesPrivateCore::WebServicesEvent>();
    connect(this, &LoginSession::CallObserversTrigger, this, &LoginSession::CallObserversSlot, Qt::QueuedConnection);
    connect(this, &LoginSession::LoggedIn, this, [this] { tellCaches(&CacheStore::LoggedIn); });
    connect(this, &LoginSession::LoginRestored, this, [this] { tellCaches(&CacheStore::LoginRestored); });
    connect(this, &LoginSession::LoggedOut, this, [this] { tellCaches(&CacheStore::LoggedOut); });
    connect(this, &LoginSession::TokenRefreshed, this, [this] { tellCaches(&CacheStore::TokenRefreshed); });
    // The single-sign-on server is no client itself: those that it serves are added to it.
    if (!services.isSSOServer) {
        AddClient(self);
        for (const OAuth2TokenSpec& spec : oauth2Specs)
            m_state.clients.enableOAuth2(self.clientKey, spec);
    }
    if (services.notifiesProcesses)
        startNotifications();
}

LoginSession::~LoginSession() {
    m_logger.information(QStringLiteral("LoginSession destructor"));
    stop();
}

void LoginSession::stop() {
    m_state.isStopped = true;
    emit m_state.services.exchangeCancel->Canceled();
    stopNotifications();
    saveWhatIsLeft();
    m_state.products.stopAll();
}

void LoginSession::loadBasicOnce() {
    if (m_state.isRestored())
        return;
    const QMutexLocker lock(&m_state.lock);
    if (!std::exchange(m_isBasicLoaded, true))
        LoginStateLoader(m_state).loadBasic();
}

Server LoginSession::currentServer() {
    loadBasicOnce();
    return m_state.currentServer();
}

QByteArray LoginSession::SignRequest(const QString& clientKey, const SigningOrder& order) {
    catchUp();
    return RequestSigning(m_state).SignRequest(clientKey, order);
}

bool LoginSession::GetAccessToken(const QString& clientKey, bool checkExpiry, Util::SecretBytes& token,
                                  Util::SecretBytes& secret) {
    catchUp();
    return RequestSigning(m_state).GetAccessToken(clientKey, checkExpiry, token, secret);
}

bool LoginSession::RefreshToken(const QString& clientKey, bool synchronous) {
    catchUp();
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

bool LoginSession::isLoggedIn(const QString& clientKey) {
    catchUp();
    return m_state.isLoggedIn(clientKey);
}

bool LoginSession::isLoginValid(const QString& clientKey) {
    catchUp();
    return m_state.isLoginValid(clientKey);
}

bool LoginSession::isLoginExpired() {
    catchUp();
    return m_state.isLoginExpired();
}

BasicLoginState LoginSession::basicState() {
    loadBasicOnce();
    catchUp();
    return m_state.basic();
}

ProductTokens LoginSession::tokens(const QString& clientKey) {
    catchUp();
    const ProductSessionPointer product = m_state.product(clientKey);
    return product ? product->tokens() : ProductTokens();
}

QJsonObject LoginSession::stateDump() {
    return dumpState(m_state);
}

NetworkCookieJar LoginSession::loginCookies() {
    return decryptCookies(basicState().loginCookies, *m_state.services.cryptor, m_logger);
}

} // namespace Velquor::WebServices::Internal
