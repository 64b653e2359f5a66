#pragma once

#include "Session/Core/LockedState.h"
#include "Session/LoginSessionEvents.h"
#include "Session/Operations/CacheAccess.h"
#include "Session/Operations/EventReactions.h"
#include "Session/Operations/LoginStateFollower.h"
#include "Session/Operations/OAuth2Access.h"
#include "Session/Operations/RequestSigning.h"
#include "Session/Operations/SignInFlow.h"

#include <QJsonObject>
#include <QNetworkReply>
#include <QObject>
#include <VqWebServices/NetworkCookieJar.h>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The signed-in state of every product in this process. It owns the state and forwards each operation to the class that does the
/// work.
///
/// Thread: lives on the thread that initialized the library, on which observers are called; its operations may be called from any
/// thread. Owner: the runtime. Errors: results and log lines. Observers are called with no lock held.
class LoginSession : public QObject, public std::enable_shared_from_this<LoginSession>, private ISessionEvents {
    Q_OBJECT

public:
    using Event = WebServicesPrivateCore::WebServicesEvent;

    /// Registers the process itself as a client with OAuth2 tokens of these kinds. The single-sign-on server is no client.
    LoginSession(const SessionDependencies& services, const ClientIdentity& self,
                 const QVector<OAuth2TokenSpec>& oauth2Specs = {});
    ~LoginSession() override;

    /// Applies what other processes have written to the login state file, and notifies the observers. Callers call this before an
    /// operation of a product; the operations here do not.
    void followFile() { (void)m_follower.follow(); }

    /// Ends all token work and every wait for it, and waits for the threads. Nothing is called back afterwards. Main thread.
    void stop();

    bool AddClient(const ClientIdentity& identity);
    bool RemoveClient(const QString& clientKey);

    /// Registers or replaces a client's configuration for the configuration's server. False for an empty client key, an unknown
    /// client, a configuration without consumer key or secret, or one for no real server.
    bool SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration);
    /// The client's configuration for the current server; null when there is none.
    [[nodiscard]] ConfigurationPointer configuration(const QString& clientKey) const;

    /// Signs out of the current server when a user is signed in there. `persist` writes the change to the file.
    bool ChangeServer(const QString& clientKey, Server server, bool persist);
    /// The current server, read from the file when the login is not restored yet.
    [[nodiscard]] Server currentServer();

    bool RestoreLogin(const QString& clientKey, bool force);

    [[nodiscard]] InitiatedLogin InitiateLogin(const QString& clientKey, const QString& ldapDomainKey);
    /// A code of `LoginCode`.
    [[nodiscard]] int CompleteLogin(const QString& clientKey, const NetworkCookieJar* cookies);
    bool InitiateLogout(const QString& clientKey, QString& url, NetworkCookieJar& cookies);
    bool CompleteLogout(const QString& clientKey);
    /// The whole sign-out without a browser. `force`: also when the user-interface companion module is loaded.
    bool Logout(const QString& clientKey, QNetworkReply::NetworkError& error, bool force);

    [[nodiscard]] QByteArray SignRequest(const QString& clientKey, const SigningOrder& order);
    [[nodiscard]] bool GetAccessToken(const QString& clientKey, bool checkExpiry, Util::SecretBytes& token,
                                      Util::SecretBytes& secret);

    /// A new access token for the client's product. An asynchronous one returns at once, with true when it was started.
    bool RefreshToken(const QString& clientKey, bool synchronous);

    /// The operations with OAuth2 tokens.
    [[nodiscard]] OAuth2Access oauth2() { return OAuth2Access(m_state); }

    /// The operations with cached replies.
    [[nodiscard]] CacheAccess caches() { return CacheAccess(m_state); }

    [[nodiscard]] bool isTokenRefreshTimerActive(const QString& clientKey) const;
    [[nodiscard]] QString clientName(const QString& clientKey) const { return m_state.clients().displayName(clientKey); }

    /// An empty client key asks for any product.
    [[nodiscard]] bool isLoggedIn(const QString& clientKey) const { return m_state.isLoggedIn(clientKey); }
    [[nodiscard]] bool isLoginValid(const QString& clientKey) const { return m_state.isLoginValid(clientKey); }
    [[nodiscard]] bool isLoginExpired() const { return m_state.isLoginExpired(); }
    [[nodiscard]] bool isRestored() const { return m_state.isRestored(); }
    [[nodiscard]] BasicLoginState basicState();
    [[nodiscard]] ProductTokens tokens(const QString& clientKey);
    [[nodiscard]] NetworkCookieJar loginCookies();
    [[nodiscard]] QString ldapDomainKey() const { return m_state.ldapDomainKey(); }
    [[nodiscard]] bool isClient(const QString& clientKey) const { return m_state.clients().contains(clientKey); }
    /// The same for an operation that fails without the client: one log line says so.
    [[nodiscard]] bool requireClient(const QString& clientKey) const;

    /// As `LoginSessionEvents::RaiseEvent`, for a sibling module. An event about one OAuth2 token is about the product's default
    /// one.
    void RaiseEvent(Event event, const QString& consumerKey, bool sendToOthers);

    // The proxy credentials, as in `ProxyCredentials`.
    bool SetProxyAuthentication(const QString& host, int port, const QString& user, const QString& password);
    bool ClearProxyInfo();
    [[nodiscard]] const ProxyCredentials& proxyCredentials() const { return m_state.proxy(); }
    /// Reads them from the file at the start of the process.
    void loadProxyInfo();
    /// For requests that a proxy has refused. Neither waits for a running sign-in or sign-out.
    [[nodiscard]] ProxyLogin findProxyLogin(const ProxyAddress& proxy, const RefusedLogins& refused) const;
    void keepProxyLogin(const ProxyAddress& proxy, const ProxyLogin& login);

    /// Clients and product login sessions, for support; no secrets.
    [[nodiscard]] QJsonObject stateDump();

    [[nodiscard]] ObserverRegistry& observers() { return m_events.observers(); }

private slots:
    void LogoutSlot(const QString& productKey, const QString& signInId);

private:
    void raiseEvent(Event event, const EventSubject& subject) override {
        m_events.RaiseEvent(event, subject, isForOtherProcesses(event));
    }
    void raiseEventHere(Event event, const EventSubject& subject) override { m_events.RaiseEvent(event, subject, false); }
    void deliverEvent(Event event, const EventSubject& subject) override { m_events.deliver(event, subject); }
    [[nodiscard]] bool isLogoutVetoed(const QString& consumerKey) override { return m_events.isLogoutVetoed(consumerKey); }
    void forceLogout(const QString& productKey, const QString& signInId) override;
    bool followFile(int waitMs) override { return m_follower.follow(waitMs); }
    /// Of all products, or of the one with this key.
    void notifyCaches(CacheClient::Event event, const QString& productKey = {});
    /// Before the restore: reads server and user from the file, unless that was done or a server was chosen.
    void loadBasicOnce();

    SessionState m_state;
    bool m_isBasicLoaded = false; ///< Under the login session lock.
    Log::ILogger& m_logger;
    LoginStateFollower m_follower;
    EventReactions m_reactions;
    LoginSessionEvents m_events; ///< Stops its thread, which uses the reactions, before they go.
};

} // namespace Velquor::WebServices::Internal
