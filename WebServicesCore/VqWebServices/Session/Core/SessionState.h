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

/// What the helpers of the login session share: the services, the state, and the locks around it.
///
/// Thread: any. `lock` is the login session lock: whoever changes the state holds it. The small state here may be read without it
/// (it has a lock of its own), so that a question such as "is the user signed in" never waits for a network exchange. That lock
/// and those of clients and products let readers pass each other: threads that share a mutex wait to be woken one after the
/// other, which takes milliseconds where the host has many. None of them may be taken twice by one thread. Lock order: `lock`,
/// then those of clients and products, then this state's. Owner: the login session.
class SessionState {
public:
    SessionState(const SessionDependencies& services, ISessionEvents* events);
    /// Ends the threads of the products first: they use what is here.
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
    /// Sign-outs that are queued or under way: while there is one, nothing is worth refreshing.
    std::atomic<int> pendingLogouts{0};
    /// The login state file lacks what this process holds: a sign-in, new tokens or a sign-out that could not be written.
    RetryBackoff unsaved{60000};
    /// The login state file has news that could not be read. They may be a sign-out, which must not wait.
    RetryBackoff unread{1000};
    /// The library is being uninitialized: nothing new is begun.
    std::atomic<bool> isStopped{false};

    /// This very thread is inside such a step, and so holds the lock that token workers need: it must not wait for them.
    [[nodiscard]] bool isInsideNetworkStep();

    [[nodiscard]] BasicLoginState basic() const;
    void setBasic(const BasicLoginState& state);
    [[nodiscard]] Server currentServer() const;
    void setCurrentServer(Server server);
    /// A text that names the present sign-in and no other; empty when nobody is signed in.
    [[nodiscard]] QString signInId() const;
    [[nodiscard]] QDateTime logoutDate() const;
    void setLogoutDate(const QDateTime& date);
    [[nodiscard]] bool isRestored() const;
    void setRestored();
    [[nodiscard]] QString ldapDomainKey() const;
    void setLdapDomainKey(const QString& key);

    /// The consumer key of a client's configuration for the current server; empty when it has none.
    [[nodiscard]] QString productKey(const QString& clientKey) const;
    /// The consumer key by which events name a client: that of its configuration. A key of no client is a consumer key itself.
    [[nodiscard]] QString subjectKey(const QString& clientKey) const {
        return clients.contains(clientKey) ? productKey(clientKey) : clientKey;
    }
    /// The product login session of a client on the current server; null when there is none.
    [[nodiscard]] ProductSessionPointer product(const QString& clientKey) const;

    /// A user is known and a product (any, when the client key is empty) has its tokens on the current server.
    [[nodiscard]] bool isLoggedIn(const QString& clientKey = {}) const;
    [[nodiscard]] bool isLoginExpired() const;
    [[nodiscard]] bool isLoginValid(const QString& clientKey = {}) const { return isLoggedIn(clientKey) && !isLoginExpired(); }

    /// Lets the caches of all products know that the user is being signed out. The products must be cleared next.
    void endCaches();
    /// The same, and takes everything out of the cache file.
    void deleteCaches();
    /// Forgets the user and every product login session, in memory only.
    void forgetUser();

    /// This sign-in is over. Neither it nor an earlier one is taken from the file again, also while the file cannot be written.
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
