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
    void announce(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey);
    void followFile();
    void react(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject);
    void tokenRefreshed(const QString& consumerKey);
    void oauth2TokenChanged(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject);
    void tokenAcquired(const QString& consumerKey);
    void loadUnconfigured();

    SessionState& m_state;
    Log::ILogger& m_logger;
    bool m_isChangePending = false;    ///< The file could not be read.
    std::optional<QString> m_signedIn; ///< The product of a sign-in that is still to be applied.
    QStringList m_unloaded;            ///< Products that could not be read yet.
};

} // namespace Velquor::WebServices::Internal
