#include "Events/EventDispatcher.h"

#include "Events/ObserverCall.h"
#include "VqLog/CallReport.h"

#include <exception>
#include <utility>

namespace Velquor::WebServices::Internal {

EventDispatcher::EventDispatcher(std::shared_ptr<Log::ILogger> logger, std::function<bool()> isLoggedIn,
                                 std::function<bool()> isStopped)
    : m_logger(std::move(logger))
    , m_isLoggedIn(std::move(isLoggedIn))
    , m_isStopped(std::move(isStopped)) {}

bool EventDispatcher::callObservers(Event event, const QString& consumerKey, bool* veto) {
    const QString name = eventName(event);
    m_logger->information(QStringLiteral("Sending web services event %1 to observers in this process").arg(name));
    const QVector<IWebServicesObserver*> observers = m_observers.snapshot();
    for (IWebServicesObserver* const observer : observers) {
        // An observer that was removed by an earlier one may be deleted already.
        if (!m_observers.contains(observer))
            continue;
        callGuarded(*observer, event, consumerKey, veto);
        // The observer has uninitialized the library.
        if (m_isStopped())
            return false;
        if (event == Event::LoggedIn && !m_isLoggedIn()) {
            m_logger->information(
                QStringLiteral(
                    "Aborting sending of web services event %1 to observers in this processes. Not logged in currently. Some process may have forced a logout in LoggedIn event handler.")
                    .arg(name));
            return false;
        }
    }
    return true;
}

void EventDispatcher::callGuarded(IWebServicesObserver& observer, Event event, const QString& consumerKey, bool* veto) {
    try {
        const Log::CallReportPause pause;
        callObserver(observer, event, consumerKey, veto);
    } catch (const std::exception& exception) {
        m_logger->error(QStringLiteral("An observer threw an exception in event %1: %2")
                            .arg(eventName(event), QString::fromLocal8Bit(exception.what())));
    } catch (...) {
        m_logger->error(QStringLiteral("An observer threw an exception in event %1").arg(eventName(event)));
    }
}

} // namespace Velquor::WebServices::Internal
