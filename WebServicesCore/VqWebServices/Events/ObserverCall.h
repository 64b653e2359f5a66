#pragma once

#include "Events/WebServicesEvent.h"

#include <QString>
#include <VqWebServices/IWebServicesObserver.h>

namespace Velquor::WebServices::Internal {

/// Calls the operation of an event, when the observer implements the interface that has it. `veto` is for `AboutToLogout` and
/// becomes true when the observer wishes it; it may be null. Thread: that of the login session. What the observer throws passes.
void callObserver(IWebServicesObserver& observer, WebServicesPrivateCore::WebServicesEvent event, const QString& consumerKey,
                  bool* veto);

} // namespace Velquor::WebServices::Internal
