#pragma once

#include "Events/EventSubject.h"

namespace Velquor::WebServices {

/// Who acts on the events of other processes. Thread: the notification thread. Owner: the login session implements it.
class INotificationListener {
public:
    virtual ~INotificationListener() = default;
    virtual void eventReceived(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
};

} // namespace Velquor::WebServices
