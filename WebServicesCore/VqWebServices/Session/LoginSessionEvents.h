#pragma once

#include "Events/EventDispatcher.h"
#include "Events/NotificationThread.h"
#include "Session/Core/SessionState.h"

#include <QObject>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Raises the events of the login session: to the observers and listeners of this process, and to the user's other processes.
///
/// Thread: lives on the thread of the login session, on which observers are called; events may be raised from any thread. Owner:
/// the login session. Errors: log lines. Observers are called with no lock held.
class LoginSessionEvents : public QObject {
    Q_OBJECT

public:
    using Event = WebServicesPrivateCore::WebServicesEvent;
    /// Keeps the owner alive while the result lives; null where the owner cannot be kept.
    using KeepAlive = std::function<std::shared_ptr<const void>()>;

    LoginSessionEvents(SessionState& state, KeepAlive keepOwner);

    /// Exchanges events with the user's other processes from now on; `listener` acts on theirs and outlives this object.
    void startNotifications(INotificationListener& listener);
    void stopNotifications();

    /// Notifies the observers and listeners of this process, on the main thread, and when `sendToOthers` is set also the other
    /// processes of the user, for any event.
    void RaiseEvent(Event event, const EventSubject& subject, bool sendToOthers);

    /// The same without raising the event: notifies the observers and listeners of this process only.
    void deliver(Event event, const EventSubject& subject);

    /// Asks the observers whether the user may be signed out. On another thread than the main one it waits for the answer, at
    /// most 61 seconds, and treats a missing answer as a veto: a sign-out can be tried again.
    [[nodiscard]] bool isLogoutVetoed(const QString& consumerKey);

    [[nodiscard]] ObserverRegistry& observers() { return m_dispatcher.observers(); }

signals:
    // For the library's own listeners, emitted on the main thread after the observers were called. The caches listen to four of
    // them.
    void LoggedIn();
    void LoginRestored();
    void LoggingOut();
    void LoggedOut();
    void LoginDialogTimeoutInVqSSOServer();
    void TokenRefreshed(const QString& consumerKey);
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

private:
    void sendToOthers(Event event, const EventSubject& subject);
    void emitToListeners(Event event, const QString& consumerKey);

    SessionState& m_state;
    const KeepAlive m_keepOwner;
    Log::ILogger& m_logger;
    EventDispatcher m_dispatcher;
    NotificationThread m_notifications;
};

} // namespace Velquor::WebServices::Internal
