#include "Events/WebServicesEvent.h"

namespace WebServicesPrivateCore {

QString eventName(WebServicesEvent event) {
    switch (event) {
    case WebServicesEvent::AccountCreated: return QStringLiteral("AccountCreated");
    case WebServicesEvent::LoggedIn: return QStringLiteral("LoggedIn");
    case WebServicesEvent::LoginRestored: return QStringLiteral("LoginRestored");
    case WebServicesEvent::LoggedOut: return QStringLiteral("LoggedOut");
    case WebServicesEvent::TokenRefreshed: return QStringLiteral("TokenRefreshed");
    case WebServicesEvent::AboutToLogout: return QStringLiteral("AboutToLogout");
    case WebServicesEvent::LoggingOut: return QStringLiteral("LoggingOut");
    case WebServicesEvent::ServerChanged: return QStringLiteral("ServerChanged");
    case WebServicesEvent::OAuth2TokenRefreshed: return QStringLiteral("OAuth2TokenRefreshed");
    case WebServicesEvent::TokenAcquired: return QStringLiteral("TokenAcquired");
    case WebServicesEvent::TokenAvailable: return QStringLiteral("TokenAvailable");
    case WebServicesEvent::OAuth2Enabled: return QStringLiteral("OAuth2Enabled");
    case WebServicesEvent::OAuth2Disabled: return QStringLiteral("OAuth2Disabled");
    case WebServicesEvent::OAuth2TokenAcquired: return QStringLiteral("OAuth2TokenAcquired");
    case WebServicesEvent::OAuth2TokenAvailable: return QStringLiteral("OAuth2TokenAvailable");
    case WebServicesEvent::OAuth2TokenDiscarded: return QStringLiteral("OAuth2TokenDiscarded");
    case WebServicesEvent::TokenQueryFailed: return QStringLiteral("TokenQueryFailed");
    case WebServicesEvent::OAuth2TokenQueryFailed: return QStringLiteral("OAuth2TokenQueryFailed");
    case WebServicesEvent::LoginDialogTimeoutInVqSSOServer: return QStringLiteral("LoginDialogTimeoutInVqSSOServer");
    }
    return {};
}

bool isForOtherProcesses(WebServicesEvent event) {
    switch (event) {
    case WebServicesEvent::AccountCreated:
    case WebServicesEvent::LoginRestored:
    case WebServicesEvent::AboutToLogout:
    case WebServicesEvent::LoggingOut:
    case WebServicesEvent::TokenAvailable:
    case WebServicesEvent::OAuth2TokenAvailable: return false;
    default: return true;
    }
}

std::optional<WebServicesEvent> eventFromName(const QString& name) {
    constexpr int last = static_cast<int>(WebServicesEvent::LoginDialogTimeoutInVqSSOServer);
    // A number without an event has an empty name, so an empty name names none.
    for (int number = 0; number <= last && !name.isEmpty(); ++number) {
        const auto event = static_cast<WebServicesEvent>(number);
        if (eventName(event) == name)
            return event;
    }
    return {};
}

} // namespace WebServicesPrivateCore
