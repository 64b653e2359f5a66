#pragma once

#include "Session/Core/ISessionEvents.h"
#include "Session/Products/ClientRegistry.h"
#include "Session/Products/ProductSessions.h"
#include "Session/State/LoginState.h"
#include "Session/State/LoginStateFile.h"
#include "Session/State/MachineBinding.h"
#include "Session/State/NotifiedChanges.h"
#include "Session/State/PendingSignIn.h"
#include "Session/State/ProxyCredentials.h"
#include "Session/State/RetryBackoff.h"
#include "Session/State/SessionDependencies.h"
#include "Tokens/TimedLock.h"

#include <QReadWriteLock>
#include <atomic>
#include <memory>
#include <optional>

namespace Velquor::WebServices::Internal {

/// What the classes that work on the session share, as everybody may read it. `LockedState` changes it.
///
/// Thread: any. Reading takes a lock of its own and not the login session lock, so that a query such as "is the user signed in"
/// never waits for a network exchange. That lock and those of clients and products are read-write locks: readers run side by
/// side, while a mutex would wake them one after the other, which takes milliseconds with many threads. A thread must not take
/// any of these twice. Lock order: the login session lock, then those of clients and products, then this state's. Owner: the
/// login session.
class SessionState {
public:
    SessionState(const SessionDependencies& services, ISessionEvents* events);
    /// Ends the threads of the products first, since they use this state.
    ~SessionState();
    SessionState(const SessionState&) = delete;
    SessionState& operator=(const SessionState&) = delete;

    [[nodiscard]] const SessionDependencies& services() const { return m_services; }
    [[nodiscard]] const MachineBinding& binding() const { return m_binding; }
    [[nodiscard]] const ProxyCredentials& proxy() const { return m_proxy; }
    [[nodiscard]] const ProductSessions& products() const { return m_products; }
    /// The clients change under a lock of their own, which their operations take.
    [[nodiscard]] ClientRegistry& clients() { return m_clients; }
    [[nodiscard]] const ClientRegistry& clients() const { return m_clients; }
    /// To raise events, with no lock held.
    [[nodiscard]] ISessionEvents& events() const { return *m_events; }

    /// Takes the login session lock for a named operation that only reads.
    void lockTimed(std::optional<TimedLock>& lock, const QString& operation);
    /// The calling thread is inside a step that waits for the network, and so holds the lock that token workers need: it must not
    /// wait for them.
    [[nodiscard]] bool isInsideNetworkStep() const;

    /// The library is being uninitialized: nothing new starts.
    [[nodiscard]] bool isStopped() const { return m_isStopped; }
    void setStopped() { m_isStopped = true; }
    /// Ends the threads of the products, and waits for them. With no lock held.
    void stopProducts() { m_products.stopAll(); }
    /// Sign-outs that are queued or running. While there is one, no token is refreshed.
    [[nodiscard]] bool isLogoutPending() const { return m_pendingLogouts > 0; }
    void beginLogout() { ++m_pendingLogouts; }
    void endLogout() { --m_pendingLogouts; }

    /// The login state file holds what this process has not read yet.
    [[nodiscard]] bool hasFileChanged() const;
    /// The file lacks what this process holds: a sign-in, new tokens or a sign-out that could not be written.
    [[nodiscard]] const RetryBackoff& unsaved() const { return m_unsaved; }
    /// The file has changed and could not be read. The change may be a sign-out, so the retry comes soon.
    [[nodiscard]] const RetryBackoff& unread() const { return m_unread; }
    /// The file as this process saw it last.
    [[nodiscard]] LoginState seen() const;
    [[nodiscard]] NotifiedChanges& notified() { return m_notified; }

    [[nodiscard]] BasicLoginState basic() const;
    [[nodiscard]] Server currentServer() const;
    /// Identifies the present sign-in; empty when nobody is signed in.
    [[nodiscard]] QString signInId() const;
    [[nodiscard]] QDateTime logoutDate() const;
    [[nodiscard]] bool isRestored() const;
    [[nodiscard]] QString ldapDomainKey() const;
    /// The latest sign-in that ended in this process. Neither it nor an earlier one is taken from the file again, also while the
    /// file cannot be written.
    [[nodiscard]] BasicLoginState lastEnded() const;
    /// The sign-in of this product on the current server that waits for the browser; none when there is none. What happens to the
    /// present sign-in meanwhile does not concern it.
    [[nodiscard]] std::optional<PendingSignIn> pendingSignIn(const QString& productKey) const;
    /// Whether there is one of any product, on any server, that the user has not left for an hour.
    [[nodiscard]] bool hasPendingSignIn() const;

    /// The consumer key of a client's configuration for the current server; empty when it has none.
    [[nodiscard]] QString productKey(const QString& clientKey) const;
    /// The consumer key that events carry for a client: that of its configuration. A key that belongs to no client is itself a
    /// consumer key.
    [[nodiscard]] QString subjectKey(const QString& clientKey) const {
        return m_clients.contains(clientKey) ? productKey(clientKey) : clientKey;
    }
    /// The product login session of a client on the current server; null when there is none.
    [[nodiscard]] ProductSessionPointer product(const QString& clientKey) const;

    /// A user is signed in and a product (any, when the client key is empty) has its tokens on the current server.
    [[nodiscard]] bool isLoggedIn(const QString& clientKey = {}) const;
    [[nodiscard]] bool isLoginExpired() const;
    [[nodiscard]] bool isLoginValid(const QString& clientKey = {}) const { return isLoggedIn(clientKey) && !isLoginExpired(); }

private:
    friend class LockedState;

    const SessionDependencies m_services;
    const std::unique_ptr<Util::IRecursiveLock>
        m_sessionLock; ///< The login session lock, which every change of what follows holds.
    LoginStateFile m_file;
    ClientRegistry m_clients;
    ProductSessions m_products;
    const MachineBinding m_binding;
    ProxyCredentials m_proxy;
    ISessionEvents* const m_events;
    bool m_isNetworkStepActive = false;
    RetryBackoff m_unsaved{60000, m_services.steadyClock};
    RetryBackoff m_unread{1000, m_services.steadyClock};
    NotifiedChanges m_notified{m_services.steadyClock};
    std::atomic<int> m_pendingLogouts{0};
    std::atomic<bool> m_isStopped{false};

    mutable QReadWriteLock m_lock; ///< For reading what follows without the login session lock.
    BasicLoginState m_basic;
    BasicLoginState m_lastEnded;
    LoginState m_seen;
    QMap<QPair<QString, int>, PendingSignIn> m_pendingSignIns; ///< By consumer key and server.
    Server m_currentServer = Production;
    QDateTime m_logoutDate;
    bool m_isRestored = false;
    QString m_ldapDomainKey;
};

} // namespace Velquor::WebServices::Internal
