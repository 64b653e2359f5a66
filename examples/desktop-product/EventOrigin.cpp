#include "EventOrigin.h"

#include <QCoreApplication>

namespace {

/// The activity during which this process may raise the event itself.
struct Cause {
    const char* event;
    Activity activity;
    EventOrigin otherwise;
};

// Any process of the user may have renewed a token in time.
constexpr Cause causes[] = {
    {"LoggedIn", Activity::Completing, EventOrigin::AnotherProcess},
    {"LoginRestored", Activity::Starting, EventOrigin::ThisProcess},
    {"AboutToLogout", Activity::SigningOut, EventOrigin::ThisProcess},
    {"LoggingOut", Activity::SigningOut, EventOrigin::NotTold},
    {"LoggedOut", Activity::SigningOut, EventOrigin::AnotherProcess},
    {"LoggedOut", Activity::SwitchingServer, EventOrigin::AnotherProcess},
    {"ServerChanged", Activity::SwitchingServer, EventOrigin::AnotherProcess},
    {"TokenAvailable", Activity::Completing, EventOrigin::ThisProcess},
    {"OAuth2TokenAvailable", Activity::Completing, EventOrigin::ThisProcess},
    {"TokenRefreshed", Activity::RenewingAccessToken, EventOrigin::NotTold},
    {"OAuth2TokenRefreshed", Activity::RenewingOAuth2Token, EventOrigin::NotTold},
};

} // namespace

EventOrigin originOf(const QString& event, bool isOfOtherProduct, Activity activity) {
    if (isOfOtherProduct)
        return EventOrigin::AnotherProcess;
    EventOrigin origin = EventOrigin::NotTold;
    for (const Cause& cause : causes) {
        if (event != QLatin1String(cause.event))
            continue;
        if (activity == cause.activity)
            return EventOrigin::ThisProcess;
        origin = cause.otherwise;
    }
    return origin;
}

QString originText(EventOrigin origin) {
    switch (origin) {
    case EventOrigin::ThisProcess: return QCoreApplication::translate("EventOrigin", "this process");
    case EventOrigin::AnotherProcess: return QCoreApplication::translate("EventOrigin", "another process");
    case EventOrigin::NotTold: break;
    }
    return QCoreApplication::translate("EventOrigin", "not told");
}
