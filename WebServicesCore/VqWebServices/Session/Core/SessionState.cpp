#include "Session/Core/SessionState.h"

#include "Session/State/DiskStateFile.h"

#include <QDir>
#include <QFileInfo>
#include <QMutexLocker>
#include <QReadLocker>
#include <algorithm>

namespace Velquor::WebServices::Internal {

namespace {

SessionDependencies withFiles(SessionDependencies services) {
    if (!services.stateFile)
        services.stateFile = std::make_shared<DiskStateFile>(services.loginStateFile, services.loggers.session);
    services.cacheFile = QFileInfo(services.loginStateFile).dir().filePath(QStringLiteral("WebServicesCache.xml"));
    return services;
}

} // namespace

SessionState::SessionState(const SessionDependencies& services, ISessionEvents* events)
    : m_services(withFiles(services))
    , m_sessionLock(m_services.threads->makeLock())
    , m_file(m_services.stateFile, services.now, services.loggers.session)
    , m_clients(services.loggers.session, services.isSSOServer)
    , m_products(m_services)
    , m_binding(services.cryptor, services.maximumBlockText(), services.isForAllUsers, services.loggers.session)
    , m_proxy(m_services, services.loggers.session)
    , m_events(events) {}

SessionState::~SessionState() {
    m_products.stopAll();
}

void SessionState::lockTimed(std::optional<TimedLock>& lock, const QString& operation) {
    lock.emplace(TimedLock::Kind::LoginSession, *m_sessionLock, operation, m_services.loggers.lock);
}

bool SessionState::isInsideNetworkStep() const {
    // A step holds the lock from beginning to end, so the thread that gets the lock while a step is active is the step's own
    // thread.
    const std::lock_guard<Util::IRecursiveLock> lock(*m_sessionLock);
    return m_isNetworkStepActive;
}

bool SessionState::hasFileChanged() const {
    return m_file.currentStamp() != m_file.seenStamp();
}

BasicLoginState SessionState::basic() const {
    const QReadLocker locker(&m_lock);
    return m_basic;
}

Server SessionState::currentServer() const {
    const QReadLocker locker(&m_lock);
    return m_currentServer;
}

QString SessionState::signInId() const {
    const QReadLocker locker(&m_lock);
    if (!m_basic.hasUser())
        return {};
    return QStringLiteral("%1|%2|%3").arg(m_currentServer).arg(m_basic.loginDate.toMSecsSinceEpoch()).arg(m_basic.userId);
}

QDateTime SessionState::logoutDate() const {
    const QReadLocker locker(&m_lock);
    return m_logoutDate;
}

bool SessionState::isRestored() const {
    const QReadLocker locker(&m_lock);
    return m_isRestored;
}

QString SessionState::ldapDomainKey() const {
    const QReadLocker locker(&m_lock);
    return m_ldapDomainKey;
}

QString SessionState::productKey(const QString& clientKey) const {
    return m_clients.productKey(clientKey, currentServer());
}

ProductSessionPointer SessionState::product(const QString& clientKey) const {
    const QString key = productKey(clientKey);
    return key.isEmpty() ? ProductSessionPointer() : m_products.find(key, currentServer());
}

bool SessionState::isLoggedIn(const QString& clientKey) const {
    if (!basic().hasUser())
        return false;
    if (clientKey.isEmpty())
        return m_products.hasTokens({}, currentServer());
    const QString key = productKey(clientKey);
    return !key.isEmpty() && m_products.hasTokens(key, currentServer());
}

bool SessionState::isLoginExpired() const {
    return basic().isExpired(m_services.now());
}

BasicLoginState SessionState::lastEnded() const {
    const QReadLocker locker(&m_lock);
    return m_lastEnded;
}

LoginState SessionState::seen() const {
    const QReadLocker locker(&m_lock);
    return m_seen;
}

std::optional<PendingSignIn> SessionState::pendingSignIn(const QString& productKey) const {
    const QReadLocker locker(&m_lock);
    const auto found = m_pendingSignIns.find({productKey, m_currentServer});
    return found == m_pendingSignIns.end() ? std::nullopt : std::optional<PendingSignIn>(*found);
}

bool SessionState::hasPendingSignIn() const {
    constexpr int patienceSeconds = 3600;
    const QDateTime earliest = m_services.now().addSecs(-patienceSeconds);
    const QReadLocker locker(&m_lock);
    return std::any_of(m_pendingSignIns.begin(), m_pendingSignIns.end(),
                       [&](const PendingSignIn& signIn) { return signIn.begun > earliest; });
}

} // namespace Velquor::WebServices::Internal
