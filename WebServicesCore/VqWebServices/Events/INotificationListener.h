#pragma once

#include "Events/EventSubject.h"

namespace Velquor::WebServices::Internal {

/// Who acts on the events of other processes. Thread: the notification thread. Owner: the login session implements it.
class INotificationListener {
public:
    virtual ~INotificationListener() = default;
    virtual void eventReceived(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Does what the events so far have left to be done. False when something of it cannot be done yet: it is to be called again
    /// a little later, since an idle process would never come back to it.
    [[nodiscard]] virtual bool finishReactions() { return true; }
};

} // namespace Velquor::WebServices::Internal
