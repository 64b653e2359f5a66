#include "Session/Core/LockedState.h"

#include "Caches/CacheStore.h"

#include <QWriteLocker>
#include <chrono>

namespace Velquor::WebServices::Internal {

LockedState::LockedState(SessionState& state)
    : m_state(state)
    , m_lock(*state.m_sessionLock) {}

LockedState::LockedState(SessionState& state, int waitMs)
    : m_state(state)
    , m_lock(*state.m_sessionLock, std::chrono::milliseconds(waitMs)) {}

void LockedState::setBasic(const BasicLoginState& state) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_basic = state;
}

void LockedState::setCurrentServer(Server server) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_currentServer = server;
}

void LockedState::setLogoutDate(const QDateTime& date) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_logoutDate = date;
}

void LockedState::setRestored() {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_isRestored = true;
}

void LockedState::setLdapDomainKey(const QString& key) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_ldapDomainKey = key;
}

void LockedState::setSeen(const LoginState& file) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_seen = file;
}

void LockedState::setPendingSignIn(const QString& productKey, const PendingSignIn& signIn) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_pendingSignIns.insert({productKey, m_state.m_currentServer}, signIn);
}

void LockedState::removePendingSignIn(const QString& productKey) {
    const QWriteLocker locker(&m_state.m_lock);
    m_state.m_pendingSignIns.remove({productKey, m_state.m_currentServer});
}

void LockedState::deleteCaches() {
    const QVector<ProductSessionPointer> sessions = m_state.m_products.all();
    for (const ProductSessionPointer& session : sessions) {
        for (const CacheType type : cacheTypes)
            session->DeleteCacheSlot(type);
    }
    endCaches();
    if (!CacheFile::removeAll(m_state.m_services.cacheFile))
        m_state.m_services.loggers.cache->error(
            QStringLiteral("Failed to delete cache file %1").arg(m_state.m_services.cacheFile));
}

void LockedState::endCaches() {
    const QVector<ProductSessionPointer> sessions = m_state.m_products.all();
    for (const ProductSessionPointer& session : sessions)
        session->endCaches();
}

void LockedState::forgetUser() {
    setBasic({});
    const QVector<ProductSessionPointer> sessions = m_state.m_products.all();
    for (const ProductSessionPointer& session : sessions)
        session->Clear();
    m_state.m_products.clear();
}

void LockedState::markEnded(const BasicLoginState& signIn) {
    const QWriteLocker locker(&m_state.m_lock);
    if (laterOf(m_state.m_lastEnded.loginDate, signIn.loginDate) == signIn.loginDate)
        m_state.m_lastEnded = signIn;
}

} // namespace Velquor::WebServices::Internal
