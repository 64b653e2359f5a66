#pragma once

#include "Events/ObserverRegistry.h"
#include "Events/WebServicesEvent.h"
#include "VqLog/ILogger.h"

#include <QString>
#include <functional>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Calls the observers of this process for an event, one after the other.
///
/// Thread: the login session's. Owner: the login session. Errors: an exception of an observer is caught and logged, and the next
/// observer is called.
class EventDispatcher {
public:
    using Event = WebServicesPrivateCore::WebServicesEvent;

    /// `isLoggedIn`: the user is signed in now. `isStopped`: the library is being uninitialized.
    EventDispatcher(std::shared_ptr<Log::ILogger> logger, std::function<bool()> isLoggedIn, std::function<bool()> isStopped);

    [[nodiscard]] ObserverRegistry& observers() { return m_observers; }

    /// `veto` is for `AboutToLogout`: set to true when an observer vetoes; may be null. Returns false when the delivery was
    /// stopped, because an observer of `LoggedIn` signed the user out or an observer uninitialized the library.
    bool callObservers(Event event, const QString& consumerKey, bool* veto);

private:
    void callGuarded(IWebServicesObserver& observer, Event event, const QString& consumerKey, bool* veto);

    const std::shared_ptr<Log::ILogger> m_logger;
    const std::function<bool()> m_isLoggedIn;
    const std::function<bool()> m_isStopped;
    ObserverRegistry m_observers;
};

} // namespace Velquor::WebServices::Internal
