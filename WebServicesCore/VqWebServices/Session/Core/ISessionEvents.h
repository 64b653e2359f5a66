#pragma once

#include "Events/EventSubject.h"

namespace Velquor::WebServices::Internal {

/// What the helpers of the login session ask of it: to tell the world, and to look at the file.
///
/// Thread: any, with none of the session's locks held. Owner: the login session implements it.
class ISessionEvents {
public:
    virtual ~ISessionEvents() = default;

    /// Tells this process and, where the event is one for them, the others.
    virtual void raiseEvent(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Tells this process only: the others know it already.
    virtual void raiseEventHere(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Ends the sign-in with this mark (`SessionState::signInId`) later, on the main thread, with the product of this key as the
    /// one that asks. Does nothing when another sign-in has taken its place by then.
    virtual void forceLogout(const QString& productKey, const QString& signInId) = 0;
    /// Takes over what other processes have written to the file. Waits at most so long for a step of this process that is under
    /// way; false when the file could not be looked at in this time.
    virtual bool catchUpWithin(int waitMs) = 0;
};

} // namespace Velquor::WebServices::Internal
