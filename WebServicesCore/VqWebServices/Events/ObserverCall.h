#pragma once

#include "Events/WebServicesEvent.h"

#include <QString>
#include <VqWebServices/IWebServicesObserver.h>

namespace Velquor::WebServices::Internal {

/// An observer inside the library that receives every event through one operation. Registered, called and owned as any observer.
class IEventSink : public IWebServicesObserver {
public:
    /// `veto` is for `AboutToLogout`; may be null.
    virtual void receive(WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey, bool* veto) = 0;
};

/// Calls the operation of an event if the observer implements the interface that has it. `veto` is for `AboutToLogout`: set to
/// true when the observer vetoes; may be null. Thread: the login session's. An exception of the observer reaches the caller.
void callObserver(IWebServicesObserver& observer, WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey,
                  bool* veto);

} // namespace Velquor::WebServices::Internal
