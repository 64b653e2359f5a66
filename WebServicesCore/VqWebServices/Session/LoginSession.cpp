#include "Session/LoginSession.h"

#include "Session/State/LoginCookies.h"
#include "Session/Store/LoginStateLoader.h"
#include "Session/Operations/StateDump.h"
#include "Session/Products/TokenOperations.h"

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
    , m_dispatcher(
          services.loggers.session, [this] { return m_core.isLoggedIn(); }, [this] { return m_core.isStopped.load(); })
    , m_logger(*services.loggers.session)
    , m_reactions(m_core) {
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
            m_core.clients.enableOAuth2(self.clientKey, spec);
    }
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
    saveWhatIsLeft();
    m_core.products.stopAll();
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
    return operations && !(synchronous && m_core.isInsideFlow())
           && operations->refreshToken(synchronous, RefreshWorker::Reason::Wished);
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

QJsonObject LoginSession::stateDump() {
    return dumpState(m_core);
}

NetworkCookieJar LoginSession::loginCookies() {
    return decryptCookies(basicState().loginCookies, *m_core.services.cryptor, m_logger);
}

} // namespace Velquor::WebServices
