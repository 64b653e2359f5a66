#include "Session/State/ProxyCredentials.h"

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

} // namespace

ProxyCredentials::ProxyCredentials(const SessionDependencies& services, std::shared_ptr<Log::ILogger> logger)
    : m_storage(services.stateFile)
    , m_now(services.now)
    , m_cryptor(services.cryptor)
    , m_logger(std::move(logger))
    , m_file(m_storage, m_now, m_logger) {}

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
    if (!StoredProxy{QNetworkProxy::HttpProxy, host, port, user, {}}.isValid()) {
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
    std::optional<LoginStateDocument> document = guard.isHeld() ? m_file.readForSaving() : std::nullopt;
    if (!document)
        return false;
    document->setProxy({proxy.type(), proxy.hostName(), proxy.port(), proxy.user(), password});
    return write(*document);
}

bool ProxyCredentials::write(const LoginStateDocument& document) {
    if (!m_file.write(document))
        return false;
    m_seen = document.proxy();
    return true;
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
    forget();
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
    std::optional<LoginStateDocument> document = m_file.readForSaving();
    if (!document)
        return false;
    document->removeProxy();
    return write(*document);
}

std::optional<QNetworkProxy> ProxyCredentials::decrypted(const std::optional<StoredProxy>& stored, QNetworkProxy proxy) const {
    if (!stored || !stored->isValid())
        return {};
    proxy.setType(static_cast<QNetworkProxy::ProxyType>(stored->type));
    proxy.setHostName(stored->host);
    proxy.setPort(static_cast<quint16>(stored->port));
    proxy.setUser(stored->user);
    // A password that cannot be decrypted is empty.
    proxy.setPassword(m_cryptor->decrypt(stored->password).toText());
    return proxy;
}

void ProxyCredentials::follow(const LoginStateDocument& document, bool isRestore) {
    const std::optional<StoredProxy> inFile = document.proxy();
    const bool hasChanged = inFile != m_seen;
    const bool isRemoved = m_seen && !inFile;
    if (isRestore || (hasChanged && inFile))
        load(document);
    else if (isRemoved)
        forget();
    m_seen = inFile;
}

void ProxyCredentials::forget() {
    setCurrent(QNetworkProxy());
    m_logger->information(QStringLiteral("Clearing proxy for this process"));
    QNetworkProxy::setApplicationProxy(QNetworkProxy(QNetworkProxy::NoProxy));
}

void ProxyCredentials::load(const LoginStateDocument& document) {
    const QString path = m_file.path();
    m_logger->information(QStringLiteral("Loading proxy authentication info from login state file %1").arg(path));
    if (!document.hasProxy()) {
        m_logger->information(QStringLiteral("No proxy authentication info found in login state file %1").arg(path));
        return;
    }
    const std::optional<QNetworkProxy> proxy = decrypted(document.proxy(), QNetworkProxy::applicationProxy());
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
    const LoginStateFile::Content content = m_file.readAtStart();
    if (content.isRead())
        follow(*content.document, true);
}

ProxyLogin ProxyCredentials::find(const ProxyAddress& proxy, const RefusedLogins& refused) const {
    ProxyLogin mine = loginFor(current(), proxy);
    if (!mine.isEmpty() && !refused.contains(mine))
        return mine;
    // `m_file` may be used by one thread at a time, and this function runs on any.
    LoginStateFile file(m_storage, m_now, m_logger);
    const LoginStateFile::Content content = file.exists() ? file.readNow() : LoginStateFile::Content();
    const std::optional<QNetworkProxy> stored =
        content.isRead() ? decrypted(content.document->proxy(), QNetworkProxy()) : std::nullopt;
    if (!stored)
        return {};
    const ProxyLogin theirs = loginFor(*stored, proxy);
    return refused.contains(theirs) ? ProxyLogin() : theirs;
}

} // namespace Velquor::WebServices::Internal
