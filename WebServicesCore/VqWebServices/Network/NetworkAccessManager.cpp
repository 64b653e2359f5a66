#include "Network/NetworkAccessManager.h"

#include "Network/Proxy/ProxyPrompt.h"
#include "Values/LibrarySettings.h"
#include "VqLog/KnownSecrets.h"
#include "VqLog/NoLogger.h"

#include <QNetworkRequest>
#include <mutex>
#include <utility>

namespace Velquor::WebServices::Internal {
namespace {

constexpr int maximumPrompts = 2;
// A bound, since stored credentials may change during a request.
constexpr int maximumAnswers = 4;

bool isDialogEnabled() {
    const QString value = librarySetting(QStringLiteral("ProxyAuthenticationDialog")).trimmed();
    return value != QLatin1String("0") && value.compare(QLatin1String("False"), Qt::CaseInsensitive) != 0;
}

void stopInterfacePolling() {
    static std::once_flag once;
    std::call_once(once, [] {
        // The longest interval. A negative one would stop polling too, but the framework warns about it.
        if (!qEnvironmentVariableIsSet("QT_BEARER_POLL_TIMEOUT"))
            qputenv("QT_BEARER_POLL_TIMEOUT", QByteArrayLiteral("2147483647"));
    });
}

bool isSame(const QNetworkProxy& one, const QNetworkProxy& other) {
    return one.hostName() == other.hostName() && one.port() == other.port();
}

/// The proxy passes the bytes of this connection on, and does not read the request.
bool isTunnel(const QNetworkProxy& proxy, const QUrl& url) {
    return proxy.type() == QNetworkProxy::HttpProxy && (url.scheme() == QLatin1String("https") || !proxy.isCachingProxy());
}

/// The proxies of the process. For a tunnel, one has the login that is to be tried. Where the proxy reads the request, it has
/// none: the framework would use it by itself, and nobody would know that the proxy has refused a request.
/// Thread: the manager's. Owner: the manager.
class AskingProxies final : public QNetworkProxyFactory {
public:
    AskingProxies(const QNetworkProxy& tunnel, QNetworkProxy& configured, QNetworkProxy& used)
        : m_tunnel(tunnel)
        , m_configured(configured)
        , m_used(used) {}

    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override {
        QList<QNetworkProxy> proxies = QNetworkProxyFactory::proxyForQuery(query);
        for (QNetworkProxy& proxy : proxies) {
            if (isTunnel(proxy, query.url()))
                fillIn(proxy);
            else
                withhold(proxy);
        }
        m_used = proxies.value(0);
        return proxies;
    }

private:
    void fillIn(QNetworkProxy& proxy) const {
        if (!isSame(proxy, m_tunnel))
            return;
        proxy.setUser(m_tunnel.user());
        proxy.setPassword(m_tunnel.password());
    }

    void withhold(QNetworkProxy& proxy) const {
        const bool isHttp = proxy.type() == QNetworkProxy::HttpProxy || proxy.type() == QNetworkProxy::HttpCachingProxy;
        if (!isHttp || proxy.user().isEmpty())
            return;
        m_configured = proxy;
        proxy.setUser({});
        proxy.setPassword({});
    }

    const QNetworkProxy& m_tunnel;
    QNetworkProxy& m_configured;
    QNetworkProxy& m_used;
};

/// The base class must find polling switched off when it is constructed.
QObject* afterPollingStopped() {
    stopInterfacePolling();
    return nullptr;
}

} // namespace

NetworkAccessManager::NetworkAccessManager(std::shared_ptr<Log::ILogger> logger, Qt::HANDLE waiting)
    : QNetworkAccessManager(afterPollingStopped()) {
    serve(std::move(logger), waiting);
    setRedirectPolicy(QNetworkRequest::ManualRedirectPolicy);
    setProxyFactory(new AskingProxies(m_tunnel, m_configured, m_used));
    connect(this, &QNetworkAccessManager::proxyAuthenticationRequired, this, &NetworkAccessManager::ProxyAuthenticationRequired);
}

void NetworkAccessManager::retire(std::unique_ptr<NetworkAccessManager> manager) {
    if (!manager || !manager->isPrompting())
        return;
    manager->m_isRetired = true;
    static_cast<void>(manager.release());
}

void NetworkAccessManager::serve(std::shared_ptr<Log::ILogger> logger, Qt::HANDLE waiting) {
    m_waiting = waiting;
    m_logger = logger ? std::move(logger) : std::make_shared<Log::NoLogger>();
    m_isDialogEnabled = isDialogEnabled();
}

bool NetworkAccessManager::isReusable() const {
    // The framework keeps the names and passwords that it has used.
    return !m_hasAnswered && m_url.userInfo().isEmpty() && !isPrompting();
}

QString NetworkAccessManager::proxyAddress() const {
    const bool isHttp = m_used.type() == QNetworkProxy::HttpProxy || m_used.type() == QNetworkProxy::HttpCachingProxy;
    return isHttp ? QStringLiteral("%1:%2").arg(m_used.hostName(), QString::number(m_used.port())) : QString();
}

void NetworkAccessManager::ProxyAuthenticationRequired(const QNetworkProxy& proxy, QAuthenticator* authenticator) {
    if (answerAsConfigured(proxy, *authenticator))
        return;
    if (!m_isDialogEnabled) {
        m_logger->information(QStringLiteral(
            "ProxyAuthenticationRequired called, but proxy authentication dialog is disabled. Returning without prompting for proxy credentials."));
        return;
    }
    ++m_openPrompts;
    Q_EMIT PromptOpened();
    answerProxy(proxy, *authenticator);
    --m_openPrompts;
    if (m_isRetired && !isPrompting())
        deleteLater();
    else
        Q_EMIT PromptClosed();
}

void NetworkAccessManager::answerProxy(const QNetworkProxy& proxy, QAuthenticator& authenticator) {
    const ProxyAddress address{proxy.hostName(), proxy.port()};
    // When each attempt has a connection of its own, the framework does not always report the credentials it has tried.
    m_refused.add({proxy.user(), proxy.password()});
    m_refused.add({authenticator.user(), authenticator.password()});
    ProxyLogin login;
    if (m_answers < maximumAnswers)
        login = ProxyPrompt::instance().stored(address, m_refused);
    const bool isStored = !login.isEmpty();
    if (!isStored && m_answers < maximumAnswers && m_prompts < maximumPrompts) {
        ++m_prompts;
        login = ProxyPrompt::instance().ask(address, m_refused, *m_logger, m_waiting);
    } else if (!isStored) {
        m_logger->error(QStringLiteral("Proxy authentication failed"));
    }
    if (!login.isEmpty())
        give(login, proxy, authenticator);
}

bool NetworkAccessManager::answerAsConfigured(const QNetworkProxy& proxy, QAuthenticator& authenticator) {
    const ProxyLogin login{m_configured.user(), m_configured.password()};
    if (!isSame(proxy, m_configured) || login.isEmpty() || m_refused.contains(login))
        return false;
    give(login, proxy, authenticator);
    return true;
}

void NetworkAccessManager::give(const ProxyLogin& login, const QNetworkProxy& proxy, QAuthenticator& authenticator) {
    ++m_answers;
    m_hasAnswered = true;
    // When the proxy asks again, it has refused this login.
    m_refused.add(login);
    Log::KnownSecrets::learn(login.password.toUtf8());
    // As the header of the request has it.
    Log::KnownSecrets::learn((login.user + QLatin1Char(':') + login.password).toUtf8());
    if (isTunnel(proxy, m_url)) {
        m_tunnel = proxy;
        m_tunnel.setUser(login.user);
        m_tunnel.setPassword(login.password);
        m_hasTunnelLogin = true;
        return;
    }
    authenticator.setUser(login.user);
    authenticator.setPassword(login.password);
    if (m_body)
        m_body->allowRepetition();
}

void NetworkAccessManager::startRequest() {
    m_prompts = 0;
    m_answers = 0;
    m_hasTunnelLogin = false;
    m_refused.clear();
    m_tunnel = QNetworkProxy();
}

bool NetworkAccessManager::takeTunnelLogin() {
    return std::exchange(m_hasTunnelLogin, false);
}

QNetworkReply* NetworkAccessManager::createRequest(Operation operation, const QNetworkRequest& request, QIODevice* body) {
    m_url = request.url();
    m_configured = QNetworkProxy();
    m_used = QNetworkProxy(QNetworkProxy::NoProxy);
    m_body = qobject_cast<UploadBody*>(body);
    // With what it has cached, the framework would answer the proxy by itself: twice with a body, and in a tunnel.
    if (m_hasAnswered)
        clearAccessCache();
    QNetworkRequest hardened(request);
    hardened.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::ManualRedirectPolicy);
    hardened.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    hardened.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    // Qt 6 would ask every server for HTTP/2.
    hardened.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    if (!hardened.hasRawHeader("Accept-Encoding"))
        hardened.setRawHeader("Accept-Encoding", "identity");
    // With a custom verb the framework would wait for a body that the answer to HEAD announces but never has.
    const QByteArray verb = hardened.attribute(QNetworkRequest::CustomVerbAttribute).toByteArray();
    if (operation == CustomOperation && verb.compare("HEAD", Qt::CaseInsensitive) == 0)
        return QNetworkAccessManager::createRequest(HeadOperation, hardened, nullptr);
    return QNetworkAccessManager::createRequest(operation, hardened, body);
}

} // namespace Velquor::WebServices::Internal
