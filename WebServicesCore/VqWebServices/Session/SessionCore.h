#pragma once

#include "Session/ClientRegistry.h"
#include "Session/LoginState.h"
#include "Session/LoginStateFile.h"
#include "Session/MachineBinding.h"
#include "Session/ProductSessions.h"
#include "Session/SessionServices.h"

#include <QMutex>
#include <QRecursiveMutex>

namespace Velquor::WebServices {

/// What the helpers of the login session share: the services, the state, and the locks around it.
///
/// Thread: any. `lock` is the login session lock: whoever changes the state holds it. The small state here may be read without it
/// (it has a mutex of its own), so that a question such as "is the user signed in" never waits for a network exchange.
/// Lock order: `lock`, then those of clients and products, then this state's. Owner: the login session.
class SessionCore {
public:
    explicit SessionCore(const SessionServices& services);

    const SessionServices services;
    QRecursiveMutex lock;
    LoginStateFile file;
    ClientRegistry clients;
    ProductSessions products;
    const MachineBinding binding;
    /// A step that waits for the network is under way (SessionFlow.h). Under the login session lock.
    bool isFlowActive = false;

    [[nodiscard]] BasicLoginState basic() const;
    void setBasic(const BasicLoginState& state);
    [[nodiscard]] Server currentServer() const;
    void setCurrentServer(Server server);
    [[nodiscard]] QDateTime logoutDate() const;
    void setLogoutDate(const QDateTime& date);
    [[nodiscard]] bool isRestored() const;
    void setRestored();
    [[nodiscard]] QString ldapDomainKey() const;
    void setLdapDomainKey(const QString& key);

    /// The consumer key of a client's configuration for the current server; empty when it has none.
    [[nodiscard]] QString productKey(const QString& clientKey) const;
    /// The product login session of a client on the current server; null when there is none.
    [[nodiscard]] ProductSessionPointer product(const QString& clientKey) const;
    /// Get or create, with the client's configuration and product applied; null when the client is not configured.
    ProductSessionPointer configuredProduct(const QString& clientKey);

    /// Hands the products that were loaded from the file the configurations of their clients.
    void configureLoadedProducts();

    /// A user is known and a product (any, when the client key is empty) has its tokens on the current server.
    [[nodiscard]] bool isLoggedIn(const QString& clientKey = {}) const;
    [[nodiscard]] bool isLoginExpired() const;
    [[nodiscard]] bool isLoginValid(const QString& clientKey = {}) const { return isLoggedIn(clientKey) && !isLoginExpired(); }

    /// Forgets the user and every product login session, in memory only.
    void forgetUser();

private:
    mutable QMutex m_mutex;
    BasicLoginState m_basic;
    Server m_currentServer = Production;
    QDateTime m_logoutDate;
    bool m_restored = false;
    QString m_ldapDomainKey;
};

} // namespace Velquor::WebServices
