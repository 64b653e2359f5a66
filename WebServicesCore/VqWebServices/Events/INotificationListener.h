#pragma once

#include "Events/EventSubject.h"

namespace Velquor::WebServices::Internal {

/// Reacts to the events of other processes. Thread: the notification thread. Owner: the login session implements it.
class INotificationListener {
public:
    virtual ~INotificationListener() = default;
    /// An event about one OAuth2 token has no spec when this version does not know the type of the token.
    virtual void eventReceived(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Completes the reactions to the events so far. False when a part cannot be done yet; the caller then repeats the call a
    /// little later, since an idle process would never do it otherwise.
    [[nodiscard]] virtual bool finishReactions() { return true; }
};

} // namespace Velquor::WebServices::Internal
