#pragma once

#include "Events/EventSubject.h"

namespace Velquor::WebServices::Internal {

/// What the classes that work on the session ask of the login session: to raise events, and to follow the file.
///
/// Thread: any, with none of the session's locks held. Owner: the login session implements it.
class ISessionEvents {
public:
    virtual ~ISessionEvents() = default;

    /// Raises the event in this process and, when the event concerns them, in the user's other processes.
    virtual void raiseEvent(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Raises the event in this process only: it does not concern the others.
    virtual void raiseEventHere(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Notifies the observers and listeners of this process of an event of another process.
    virtual void deliverEvent(WebServicesPrivateCore::WebServicesEvent event, const EventSubject& subject) = 0;
    /// Asks the observers whether the user may be signed out, and waits for their answer.
    [[nodiscard]] virtual bool isLogoutVetoed(const QString& consumerKey) = 0;
    /// Ends the sign-in of this id (`SessionState::signInId`) later, on the main thread, in the name of the product of this key.
    /// Does nothing when another sign-in has taken its place by then.
    virtual void forceLogout(const QString& productKey, const QString& signInId) = 0;
    /// Applies what other processes have written to the file. Waits at most `waitMs` milliseconds for a step of this process that
    /// holds the state; false when the file could not be read in this time.
    virtual bool followFile(int waitMs) = 0;
};

} // namespace Velquor::WebServices::Internal
