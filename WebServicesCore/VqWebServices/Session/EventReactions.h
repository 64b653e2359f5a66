#pragma once

#include "Events/INotificationListener.h"
#include "Session/SessionCore.h"

namespace Velquor::WebServices {

/// What this process does when another one of the user reports an event.
///
/// Thread: the notification thread; takes the session's locks for a short time. Owner: the login session. Errors: log lines.
class EventReactions : public INotificationListener {
public:
    explicit EventReactions(SessionCore& core);

    void eventReceived(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) override;

private:
    void signedIn(const QString& consumerKey);
    void signedOut();
    void tokenRefreshed(const QString& consumerKey);
    void oauth2TokenChanged(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject);
    void tokenAcquired(const QString& consumerKey);
    void loadUnconfigured(const QString& consumerKey);

    SessionCore& m_core;
    Log::ILogger& m_logger;
};

} // namespace Velquor::WebServices
