#pragma once

#include "Events/INotificationListener.h"
#include "Session/Core/SessionState.h"

#include <QStringList>
#include <optional>

namespace Velquor::WebServices::Internal {

/// What this process does when another process of the user raises an event.
///
/// Thread: the notification thread, which serves other processes too: it waits for the session's locks only briefly, and leaves
/// the rest to `finishReactions`. Owner: the login session. Errors: log lines.
class EventReactions : public INotificationListener {
public:
    explicit EventReactions(SessionState& state);

    void eventReceived(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) override;
    [[nodiscard]] bool finishReactions() override;

private:
    /// A sign-in or sign-out of another process.
    struct SignInEvent {
        WebServicesPrivateCore::WebServicesEvent event;
        EventSubject subject;
        qint64 start; ///< A notification of the observers since then was about this event.
    };

    void announce(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject);
    void followFile();
    void signInFollowed(const SignInEvent& followed);
    void react(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject);
    void tokenRefreshed(const QString& consumerKey);
    void oauth2TokenChanged(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject);
    void tokenAcquired(const QString& consumerKey);
    void loadUnconfigured();

    SessionState& m_state;
    Log::ILogger& m_logger;
    bool m_isChangePending = false;           ///< The file could not be read.
    std::optional<SignInEvent> m_signInEvent; ///< The last one, until the file has been read.
    QStringList m_unloaded;                   ///< Products that could not be read yet.
};

} // namespace Velquor::WebServices::Internal
