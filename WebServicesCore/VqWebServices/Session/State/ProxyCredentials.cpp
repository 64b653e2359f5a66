#include "Session/State/ProxyCredentials.h"

#include "Session/State/ProxySettingsXml.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr int anyPort = -1;
bool isFor(const QNetworkProxy& proxy, const QString& host, int port) {
    return proxy.hostName().compare(host, Qt::CaseInsensitive) == 0 && !proxy.user().isEmpty()
           && (port == anyPort || port == proxy.port());
}

ProxyLogin loginFor(const QNetworkProxy& proxy, const ProxyAddress& address) {
    return isFor(proxy, address.host, address.port) ? ProxyLogin{proxy.user(), proxy.password()} : ProxyLogin();
}

LoginStateFile::Content readContent(LoginStateFile& file, int timeoutMs) {
    if (!file.exists())
        return {};
    const LoginStateFile::Guard guard(file, timeoutMs);
    return guard.isHeld() ? file.read() : LoginStateFile::Content();
}

} // namespace

ProxyCredentials::ProxyCredentials(const QString& loginStateFile, std::shared_ptr<Util::ICryptor> cryptor,
                                   std::shared_ptr<Log::ILogger> logger)
    : m_cryptor(std::move(cryptor))
    , m_logger(std::move(logger))
    , m_file(loginStateFile, m_logger) {}

QNetworkProxy ProxyCredentials::current() const {
    const QMutexLocker lock(&m_mutex);
    return m_proxy;
}

void ProxyCredentials::setCurrent(const QNetworkProxy& proxy) {
    const QMutexLocker lock(&m_mutex);
    m_proxy = proxy;
}

bool ProxyCredentials::SetProxyAuthentication(const QString& host, int port, const QString& user, const QString& password) {
    if (host.isEmpty() || user.isEmpty()) {
        m_logger->information(QStringLiteral("SetProxyAuthentication failed. %1 name is empty.")
                                  .arg(host.isEmpty() ? QStringLiteral("Host") : QStringLiteral("User")));
        return false;
    }
    if (!ProxySettingsXml::isValid(host, port, user)) {
        m_logger->information(QStringLiteral("SetProxyAuthentication failed. Host name, port or user name is not valid."));
        return false;
    }
    QNetworkProxy proxy = QNetworkProxy::applicationProxy();
    proxy.setType(QNetworkProxy::HttpProxy);
    proxy.setHostName(host);
    proxy.setPort(static_cast<quint16>(port));
    proxy.setUser(user);
    proxy.setPassword(password);
    apply(proxy);
    const bool isSaved = save(proxy);
    m_logger->log(isSaved ? Log::Level::Information : Log::Level::Error,
                  (isSaved ? QStringLiteral("Saved proxy authentication info to login state file %1")
                           : QStringLiteral("Failed to save proxy authentication info to login state file %1"))
                      .arg(m_file.path()));
    return true;
}

void ProxyCredentials::apply(const QNetworkProxy& proxy) {
    setCurrent(proxy);
    if (proxy == QNetworkProxy::applicationProxy())
        return;
    m_logger->information(QStringLiteral("Setting proxy authentication info for this process: Host name: %1, Port: %2, User: %3")
                              .arg(proxy.hostName(), QString::number(proxy.port()), proxy.user()));
    QNetworkProxy::setApplicationProxy(proxy);
}

bool ProxyCredentials::save(const QNetworkProxy& proxy) {
    const QByteArray password = m_cryptor->encrypt(proxy.password().toUtf8());
    if (password.isEmpty() && !proxy.password().isEmpty())
        return false;
    const LoginStateFile::Guard guard(m_file);
    const QDomDocument document = guard.isHeld() ? m_file.readForSaving() : QDomDocument();
    if (document.isNull())
        return false;
    QDomElement root = document.documentElement();
    ProxySettingsXml::write(root, proxy, password);
    return m_file.write(document);
}

bool ProxyCredentials::HasProxyAuthentication(const QString& host, int port) const {
    if (host.isEmpty()) {
        m_logger->information(QStringLiteral("HasProxyAuthentication failed. Host name is empty."));
        return false;
    }
    return isFor(current(), host, port);
}

bool ProxyCredentials::GetProxyAuthentication(const QString& host, int port, ProxyLogin& login) const {
    if (host.isEmpty()) {
        m_logger->information(QStringLiteral("GetProxyAuthentication failed. Host name is empty."));
        return false;
    }
    const ProxyLogin found = loginFor(current(), {host, port});
    if (found.isEmpty())
        return false;
    login = found;
    return true;
}

bool ProxyCredentials::HasProxyInfo() const {
    return !current().hostName().isEmpty();
}

bool ProxyCredentials::ClearProxyInfo() {
    setCurrent(QNetworkProxy());
    m_logger->information(QStringLiteral("Clearing proxy for this process"));
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
    const bool isCleared = removeFromFile();
    m_logger->log(isCleared ? Log::Level::Information : Log::Level::Error,
                  (isCleared ? QStringLiteral("Cleared proxy authentication info in login state file %1")
                             : QStringLiteral("Failed to clear proxy authentication info in login state file %1"))
                      .arg(m_file.path()));
    return isCleared;
}

bool ProxyCredentials::removeFromFile() {
    const LoginStateFile::Guard guard(m_file);
    if (!guard.isHeld())
        return false;
    if (!m_file.exists())
        return true;
    const QDomDocument document = m_file.readForSaving();
    if (document.isNull())
        return false;
    QDomElement root = document.documentElement();
    ProxySettingsXml::remove(root);
    return m_file.write(document);
}

void ProxyCredentials::load(const QDomElement& root) {
    const QString path = m_file.path();
    m_logger->information(QStringLiteral("Loading proxy authentication info from login state file %1").arg(path));
    if (!ProxySettingsXml::isIn(root)) {
        m_logger->information(QStringLiteral("No proxy authentication info found in login state file %1").arg(path));
        return;
    }
    const std::optional<QNetworkProxy> proxy = ProxySettingsXml::read(root, *m_cryptor, QNetworkProxy::applicationProxy());
    if (!proxy) {
        m_logger->warning(
            QStringLiteral("Ignoring proxy authentication info in login state file %1. Type, host or port is not valid.")
                .arg(path));
        return;
    }
    m_logger->information(QStringLiteral("Loaded proxy authentication info from login state file %1").arg(path));
    apply(*proxy);
}

void ProxyCredentials::loadFromFile() {
    if (!m_file.exists()) {
        m_logger->information(
            QStringLiteral("Loading of login state skipped. Login state file %1 does not exist.").arg(m_file.path()));
        return;
    }
    const LoginStateFile::Content content = readContent(m_file, LoginStateFile::patientTimeoutMs);
    if (content.isRead())
        load(content.root());
}

ProxyLogin ProxyCredentials::find(const ProxyAddress& proxy, const RefusedLogins& refused) const {
    ProxyLogin mine = loginFor(current(), proxy);
    if (!mine.isEmpty() && !refused.contains(mine))
        return mine;
    // `m_file` may be used by one thread at a time, and this function runs on any.
    LoginStateFile file(m_file.path(), m_logger);
    const LoginStateFile::Content content = readContent(file, LoginStateFile::briefTimeoutMs);
    const std::optional<QNetworkProxy> stored = ProxySettingsXml::read(content.root(), *m_cryptor);
    if (!stored)
        return {};
    const ProxyLogin theirs = loginFor(*stored, proxy);
    return refused.contains(theirs) ? ProxyLogin() : theirs;
}

} // namespace Velquor::WebServices::Internal
