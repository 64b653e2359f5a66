#pragma once

#include "Events/EventDispatcher.h"
#include "Events/NotificationManager.h"
#include "Session/Core/SessionState.h"
#include "Session/Operations/CacheAccess.h"
#include "Session/Operations/EventReactions.h"
#include "Session/Operations/OAuth2Access.h"
#include "Session/Operations/RequestSigning.h"
#include "Session/Operations/SignInFlow.h"

#include <QJsonObject>
#include <QNetworkReply>
#include <QObject>
#include <QThread>
#include <VqWebServices/NetworkCookieJar.h>
#include <atomic>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The signed-in state of every product in this process: the owner of the state, and the door to the classes that work on it.
///
/// Thread: lives on the thread that initialized the library, on which observers are called; its operations may be called from any
/// thread. Owner: the runtime. Errors: results and log lines. Observers are called with no lock held.
class LoginSession : public QObject, public std::enable_shared_from_this<LoginSession>, private ISessionEvents {
    Q_OBJECT

public:
    using Event = WebServicesPrivateCore::WebServicesEvent;

    /// Registers the process itself as a client, which wants OAuth2 tokens of these kinds; the single-sign-on server is none.
    LoginSession(const SessionDependencies& services, const ClientIdentity& self,
                 const QVector<OAuth2TokenSpec>& oauth2Specs = {});
    ~LoginSession() override;

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
    [[nodiscard]] OAuth2Access oauth2() {
        catchUp();
        return OAuth2Access(m_state);
    }

    /// The operations with cached replies.
    [[nodiscard]] CacheAccess caches() {
        catchUp();
        return CacheAccess(m_state);
    }

    [[nodiscard]] bool isTokenRefreshTimerActive(const QString& clientKey) const;
    [[nodiscard]] QString clientName(const QString& clientKey) const { return m_state.clients.displayName(clientKey); }

    /// An empty client key asks for any product.
    [[nodiscard]] bool isLoggedIn(const QString& clientKey);
    [[nodiscard]] bool isLoginValid(const QString& clientKey);
    [[nodiscard]] bool isLoginExpired();
    [[nodiscard]] bool isRestored() const { return m_state.isRestored(); }
    [[nodiscard]] BasicLoginState basicState();
    [[nodiscard]] ProductTokens tokens(const QString& clientKey);
    [[nodiscard]] NetworkCookieJar loginCookies();
    [[nodiscard]] QString ldapDomainKey() const { return m_state.ldapDomainKey(); }
    [[nodiscard]] bool isClient(const QString& clientKey) const { return m_state.clients.contains(clientKey); }
    /// The same for an operation that fails without the client: one log line says so.
    [[nodiscard]] bool requireClient(const QString& clientKey) const;

    /// Tells the observers and listeners of this process, on the main thread, and when `sendToOthers` is set also the other
    /// processes of the user, whatever the event.
    void RaiseEvent(Event event, const EventSubject& subject, bool sendToOthers);

    // The proxy credentials, as of `ProxyCredentials`.
    bool SetProxyAuthentication(const QString& host, int port, const QString& user, const QString& password);
    bool ClearProxyInfo();
    [[nodiscard]] const ProxyCredentials& proxyCredentials() const { return m_state.proxy; }
    /// Reads them from the file at the start of the process.
    void loadProxyInfo();
    /// For requests that a proxy has refused: neither waits for a sign-in or sign-out that is under way.
    [[nodiscard]] ProxyLogin findProxyLogin(const ProxyAddress& proxy, const RefusedLogins& refused) const;
    void keepProxyLogin(const ProxyAddress& proxy, const ProxyLogin& login);

    /// Clients and product login sessions, for support; no secrets.
    [[nodiscard]] QJsonObject stateDump();

    [[nodiscard]] ObserverRegistry& observers() { return m_dispatcher.observers(); }

signals:
    // For the library's own listeners, emitted on the main thread after the observers were called.
    void LoggedIn();
    void LoginRestored();
    void LoggingOut();
    void LoggedOut();
    void LoginDialogTimeoutInVqSSOServer();
    void TokenRefreshed();
    void ServerChanged();
    void TokenAcquired();
    void TokenQueryFailed();
    void TokenAvailable();
    void OAuth2TokenAcquired();
    void OAuth2TokenQueryFailed();
    void OAuth2TokenAvailable();
    void OAuth2TokenDiscarded();
    void OAuth2TokenRefreshed();

    void CallObserversTrigger(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey, bool* pAboutToLogout);

private slots:
    void CallObserversSlot(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey, bool* pAboutToLogout);
    void LogoutSlot(const QString& productKey, const QString& signInId);

private:
    /// Takes over what another process has written to the file since it was last seen, and tells the observers; then writes what
    /// could not be written before. False when the state is held by another step for longer than `waitMs` milliseconds, or the
    /// file could not be looked at.
    bool catchUp(int waitMs = 0);
    /// There is something to take over from the file.
    [[nodiscard]] bool hasFileChanged() const { return m_state.file.currentStamp() != m_state.file.seenStamp(); }
    /// False when the file could not be looked at.
    bool applyFile(int guardTimeoutMs);
    /// The last try to write what could not be written so far.
    void saveWhatIsLeft();
    void raiseEvent(Event event, const EventSubject& subject) override { RaiseEvent(event, subject, isForOtherProcesses(event)); }
    void raiseEventHere(Event event, const EventSubject& subject) override { RaiseEvent(event, subject, false); }
    void startNotifications();
    void stopNotifications();
    void sendToOthers(Event event, const EventSubject& subject);
    void emitToListeners(Event event);
    void tellCaches(CacheClient::Event event);
    void forceLogout(const QString& productKey, const QString& signInId) override;
    /// `onlySignIn`: fails when another sign-in than that with this mark is to be ended; empty: ends whichever there is.
    bool logOut(const QString& clientKey, QNetworkReply::NetworkError& error, bool force, const QString& onlySignIn);
    bool catchUpWithin(int waitMs) override { return catchUp(waitMs); }
    /// Before the restore: reads server and user from the file, unless that was done or a server was chosen.
    void loadBasicOnce();
    [[nodiscard]] bool isLogoutVetoed(const QString& consumerKey);
    [[nodiscard]] bool isCompanionLoaded() const;

    SessionState m_state;
    bool m_isBasicLoaded = false;            ///< Under the login session lock.
    std::atomic<bool> m_isCatchingUp{false}; ///< A thread that holds the login session lock is reading the file.
    EventDispatcher m_dispatcher;
    Log::ILogger& m_logger;
    EventReactions m_reactions;
    QMutex m_notificationMutex;
    NotificationManager* m_notifications = nullptr; ///< Lives on the thread and is deleted by its end.
    std::unique_ptr<QThread> m_notificationThread;
};

} // namespace Velquor::WebServices::Internal
