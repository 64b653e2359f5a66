// The operations by which sibling modules receive and raise events.

#include "Events/WebServicesEvent.h"
#include "Facade/FacadeCall.h"

#include <VqWebServices/WebServicesPrivate.h>

namespace Velquor::WebServices {

using namespace Internal;

using Event = WebServicesPrivateCore::WebServicesEvent;

void WebServicesPrivate::AddObserver(IWebServicesObserver* observer) {
    WebServicesManagerImp::instance().manager().AddObserver(observer);
}

void WebServicesPrivate::RemoveObserver(IWebServicesObserver* observer) {
    WebServicesManagerImp::instance().manager().RemoveObserver(observer);
}

void WebServicesPrivate::RaiseEvent(Event event) {
    RaiseEvent(event, true);
}

void WebServicesPrivate::RaiseEvent(Event event, bool sendToOthers) {
    guarded("RaiseEvent", [&] {
        const auto session = WebServicesManagerImp::instance().session();
        RaiseEvent(session ? session->oauth2().productKey(WebServicesManagerImp::defaultClientKey()) : QString(), event,
                   sendToOthers);
    });
}

void WebServicesPrivate::RaiseEvent(const QString& consumerKey, Event event) {
    RaiseEvent(consumerKey, event, true);
}

void WebServicesPrivate::RaiseEvent(const QString& consumerKey, Event event, bool sendToOthers) {
    if (eventName(event).isEmpty()) {
        Log::rootLogger().error(QStringLiteral("RaiseEvent failed. %1 is no event.").arg(static_cast<int>(event)));
        return;
    }
    (void)withSessionAsIs("RaiseEvent", false, [&](LoginSession& session) {
        session.RaiseEvent(event, consumerKey, sendToOthers);
        return true;
    });
}

} // namespace Velquor::WebServices
