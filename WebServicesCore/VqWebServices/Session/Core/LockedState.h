#pragma once

#include "Session/Core/SessionState.h"

#include <mutex>

namespace Velquor::WebServices::Internal {

/// Holds the login session lock, and so may change the shared state. Who changes the state asks for one of these.
///
/// Thread: the one that made it; the lock is recursive. Owner: the stack of the operation. Lock order: this lock before the lock
/// of the login state file and those of clients and products.
class LockedState {
public:
    /// Waits for the lock as long as it takes.
    explicit LockedState(SessionState& state);
    /// Waits at most `waitMs` milliseconds. Nothing but `isHeld` may be called when the lock was not free in time.
    LockedState(SessionState& state, int waitMs);
    LockedState(const LockedState&) = delete;
    LockedState& operator=(const LockedState&) = delete;

    [[nodiscard]] bool isHeld() const { return m_lock.owns_lock(); }

    /// The state, to read.
    [[nodiscard]] SessionState* operator->() const { return &m_state; }
    [[nodiscard]] SessionState& operator*() const { return m_state; }

    [[nodiscard]] LoginStateFile& file() { return m_state.m_file; }
    [[nodiscard]] ProductSessions& products() { return m_state.m_products; }
    [[nodiscard]] ProxyCredentials& proxy() { return m_state.m_proxy; }
    [[nodiscard]] RetryBackoff& unsaved() { return m_state.m_unsaved; }
    [[nodiscard]] RetryBackoff& unread() { return m_state.m_unread; }

    /// A step that waits for the network is under way on this thread (NetworkStepGuard.h).
    [[nodiscard]] bool isNetworkStepActive() const { return m_state.m_isNetworkStepActive; }
    void setNetworkStepActive(bool isActive) { m_state.m_isNetworkStepActive = isActive; }

    void setBasic(const BasicLoginState& user);
    void setCurrentServer(Server server);
    void setLogoutDate(const QDateTime& date);
    void setRestored();
    void setLdapDomainKey(const QString& key);
    void setSeen(const LoginState& file);
    void setPendingSignIn(const QString& productKey, const PendingSignIn& signIn);
    void removePendingSignIn(const QString& productKey);

    /// Notifies the caches of all products that the user is being signed out. The products must be cleared next.
    void endCaches();
    /// The same, and empties the cache file.
    void deleteCaches();
    /// Forgets the user and every product login session, in memory only.
    void forgetUser();
    /// Marks this sign-in as over.
    void markEnded(const BasicLoginState& signIn);

private:
    SessionState& m_state;
    std::unique_lock<Util::IRecursiveLock> m_lock;
};

} // namespace Velquor::WebServices::Internal
