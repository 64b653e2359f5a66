#include "Session/Core/SessionState.h"

#include "Caches/CacheStore.h"
#include "Session/State/DiskStateFile.h"

#include <QDir>
#include <QFileInfo>
#include <QMutexLocker>
#include <QReadLocker>
#include <QWriteLocker>
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
    : services(withFiles(services))
    , file(this->services.stateFile, services.now, services.loggers.session)
    , clients(services.loggers.session, services.isSSOServer)
    , products(this->services)
    , binding(services.cryptor, services.maximumBlockText(), services.isForAllUsers, services.loggers.session)
    , proxy(this->services, services.loggers.session)
    , events(events) {}

SessionState::~SessionState() {
    products.stopAll();
}

bool SessionState::isInsideNetworkStep() {
    // A step holds the lock from beginning to end, so the thread that gets the lock while a step is active is the step's own
    // thread.
    const QMutexLocker locker(&lock);
    return isNetworkStepActive;
}

BasicLoginState SessionState::basic() const {
    const QReadLocker locker(&m_lock);
    return m_basic;
}

void SessionState::setBasic(const BasicLoginState& state) {
    const QWriteLocker locker(&m_lock);
    m_basic = state;
}

Server SessionState::currentServer() const {
    const QReadLocker locker(&m_lock);
    return m_currentServer;
}

void SessionState::setCurrentServer(Server server) {
    const QWriteLocker locker(&m_lock);
    m_currentServer = server;
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

void SessionState::setLogoutDate(const QDateTime& date) {
    const QWriteLocker locker(&m_lock);
    m_logoutDate = date;
}

bool SessionState::isRestored() const {
    const QReadLocker locker(&m_lock);
    return m_restored;
}

void SessionState::setRestored() {
    const QWriteLocker locker(&m_lock);
    m_restored = true;
}

QString SessionState::ldapDomainKey() const {
    const QReadLocker locker(&m_lock);
    return m_ldapDomainKey;
}

void SessionState::setLdapDomainKey(const QString& key) {
    const QWriteLocker locker(&m_lock);
    m_ldapDomainKey = key;
}

QString SessionState::productKey(const QString& clientKey) const {
    return clients.productKey(clientKey, currentServer());
}

ProductSessionPointer SessionState::product(const QString& clientKey) const {
    const QString key = productKey(clientKey);
    return key.isEmpty() ? ProductSessionPointer() : products.find(key, currentServer());
}

bool SessionState::isLoggedIn(const QString& clientKey) const {
    if (!basic().hasUser())
        return false;
    if (clientKey.isEmpty())
        return products.hasTokens({}, currentServer());
    const QString key = productKey(clientKey);
    return !key.isEmpty() && products.hasTokens(key, currentServer());
}

bool SessionState::isLoginExpired() const {
    return basic().isExpired(services.now());
}

void SessionState::deleteCaches() {
    const QVector<ProductSessionPointer> sessions = products.all();
    for (const ProductSessionPointer& session : sessions) {
        for (const CacheType type : cacheTypes)
            session->DeleteCacheSlot(type);
    }
    endCaches();
    if (!CacheFile::removeAll(services.cacheFile))
        services.loggers.cache->error(QStringLiteral("Failed to delete cache file %1").arg(services.cacheFile));
}

void SessionState::endCaches() {
    const QVector<ProductSessionPointer> sessions = products.all();
    for (const ProductSessionPointer& session : sessions)
        session->endCaches();
}

void SessionState::forgetUser() {
    setBasic({});
    const QVector<ProductSessionPointer> sessions = products.all();
    for (const ProductSessionPointer& session : sessions)
        session->Clear();
    products.clear();
}

void SessionState::markEnded(const BasicLoginState& signIn) {
    const QWriteLocker locker(&m_lock);
    if (laterOf(m_lastEnded.loginDate, signIn.loginDate) == signIn.loginDate)
        m_lastEnded = signIn;
}

BasicLoginState SessionState::lastEnded() const {
    const QReadLocker locker(&m_lock);
    return m_lastEnded;
}

LoginState SessionState::seen() const {
    const QReadLocker locker(&m_lock);
    return m_seen;
}

void SessionState::setSeen(const LoginState& file) {
    const QWriteLocker locker(&m_lock);
    m_seen = file;
}

std::optional<PendingSignIn> SessionState::pendingSignIn(const QString& productKey) const {
    const QReadLocker locker(&m_lock);
    const auto found = m_pendingSignIns.find({productKey, m_currentServer});
    return found == m_pendingSignIns.end() ? std::nullopt : std::optional<PendingSignIn>(*found);
}

bool SessionState::hasPendingSignIn() const {
    constexpr int patienceSeconds = 3600;
    const QDateTime earliest = services.now().addSecs(-patienceSeconds);
    const QReadLocker locker(&m_lock);
    return std::any_of(m_pendingSignIns.begin(), m_pendingSignIns.end(),
                       [&](const PendingSignIn& signIn) { return signIn.begun > earliest; });
}

void SessionState::setPendingSignIn(const QString& productKey, const PendingSignIn& signIn) {
    const QWriteLocker locker(&m_lock);
    m_pendingSignIns.insert({productKey, m_currentServer}, signIn);
}

void SessionState::removePendingSignIn(const QString& productKey) {
    const QWriteLocker locker(&m_lock);
    m_pendingSignIns.remove({productKey, m_currentServer});
}

} // namespace Velquor::WebServices::Internal
