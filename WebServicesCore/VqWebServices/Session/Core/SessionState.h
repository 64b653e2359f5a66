#pragma once

#include "Session/Core/ISessionEvents.h"
#include "Session/Products/ClientRegistry.h"
#include "Session/Products/ProductSessions.h"
#include "Session/State/LoginState.h"
#include "Session/State/LoginStateFile.h"
#include "Session/State/MachineBinding.h"
#include "Session/State/ProxyCredentials.h"
#include "Session/State/RetryBackoff.h"
#include "Session/State/SessionDependencies.h"

#include <QReadWriteLock>
#include <QRecursiveMutex>
#include <atomic>

namespace Velquor::WebServices::Internal {

/// What the classes that work on the login session share: the services, the state, and its locks.
///
/// Thread: any. `lock` is the login session lock, which every change of the state holds. The private fields have a lock of their
/// own and may be read without the login session lock, so that a query such as "is the user signed in" never waits for a network
/// exchange. That lock and those of clients and products are read-write locks: readers run side by side, while a mutex would wake
/// them one after the other, which takes milliseconds with many threads. A thread must not take any of these twice. Lock order:
/// `lock`, then those of clients and products, then this state's. Owner: the login session.
class SessionState {
public:
    SessionState(const SessionDependencies& services, ISessionEvents* events);
    /// Ends the threads of the products first, since they use this state.
    ~SessionState();
    SessionState(const SessionState&) = delete;
    SessionState& operator=(const SessionState&) = delete;

    const SessionDependencies services;
    QRecursiveMutex lock;
    LoginStateFile file;
    ClientRegistry clients;
    ProductSessions products;
    const MachineBinding binding;
    ProxyCredentials proxy;
    ISessionEvents* const events;
    /// A step that waits for the network is under way (NetworkStepGuard.h). Under the login session lock.
    bool isNetworkStepActive = false;
    /// Sign-outs that are queued or running. While there is one, no token is refreshed.
    std::atomic<int> pendingLogouts{0};
    /// The login state file lacks what this process holds: a sign-in, new tokens or a sign-out that could not be written.
    RetryBackoff unsaved{60000, services.steadyClock};
    /// The login state file has changed and could not be read. The change may be a sign-out, so the retry comes soon.
    RetryBackoff unread{1000, services.steadyClock};
    /// The library is being uninitialized: nothing new starts.
    std::atomic<bool> isStopped{false};

    /// The calling thread is inside such a step and so holds the lock that token workers need: it must not wait for them.
    [[nodiscard]] bool isInsideNetworkStep();

    [[nodiscard]] BasicLoginState basic() const;
    void setBasic(const BasicLoginState& state);
    [[nodiscard]] Server currentServer() const;
    void setCurrentServer(Server server);
    /// Identifies the present sign-in; empty when nobody is signed in.
    [[nodiscard]] QString signInId() const;
    [[nodiscard]] QDateTime logoutDate() const;
    void setLogoutDate(const QDateTime& date);
    [[nodiscard]] bool isRestored() const;
    void setRestored();
    [[nodiscard]] QString ldapDomainKey() const;
    void setLdapDomainKey(const QString& key);

    /// The consumer key of a client's configuration for the current server; empty when it has none.
    [[nodiscard]] QString productKey(const QString& clientKey) const;
    /// The consumer key that events carry for a client: that of its configuration. A key that belongs to no client is itself a
    /// consumer key.
    [[nodiscard]] QString subjectKey(const QString& clientKey) const {
        return clients.contains(clientKey) ? productKey(clientKey) : clientKey;
    }
    /// The product login session of a client on the current server; null when there is none.
    [[nodiscard]] ProductSessionPointer product(const QString& clientKey) const;

    /// A user is signed in and a product (any, when the client key is empty) has its tokens on the current server.
    [[nodiscard]] bool isLoggedIn(const QString& clientKey = {}) const;
    [[nodiscard]] bool isLoginExpired() const;
    [[nodiscard]] bool isLoginValid(const QString& clientKey = {}) const { return isLoggedIn(clientKey) && !isLoginExpired(); }

    /// Notifies the caches of all products that the user is being signed out. The products must be cleared next.
    void endCaches();
    /// The same, and empties the cache file.
    void deleteCaches();
    /// Forgets the user and every product login session, in memory only.
    void forgetUser();

    /// Marks this sign-in as over. Neither it nor an earlier one is loaded from the file again, also while the file cannot be
    /// written.
    void markEnded(const BasicLoginState& signIn);
    [[nodiscard]] bool isEnded(const BasicLoginState& signIn) const;

private:
    mutable QReadWriteLock m_lock;
    BasicLoginState m_basic;
    BasicLoginState m_lastEnded;
    Server m_currentServer = Production;
    QDateTime m_logoutDate;
    bool m_restored = false;
    QString m_ldapDomainKey;
};

} // namespace Velquor::WebServices::Internal
