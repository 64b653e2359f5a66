#pragma once

namespace WebServicesPrivateCore {

/// The changes of the sign-in state. The observer operation with the same name explains each event. Processes of different
/// versions exchange the numbers; 18 must stay unused.
enum class WebServicesEvent {
    AccountCreated = 0,
    LoggedIn = 1,
    LoginRestored = 2,
    LoggedOut = 3,
    TokenRefreshed = 4,
    AboutToLogout = 5,
    LoggingOut = 6,
    ServerChanged = 7,
    OAuth2TokenRefreshed = 8,
    TokenAcquired = 9,
    TokenAvailable = 10,
    OAuth2Enabled = 11,
    OAuth2Disabled = 12,
    OAuth2TokenAcquired = 13,
    OAuth2TokenAvailable = 14,
    OAuth2TokenDiscarded = 15,
    TokenQueryFailed = 16,
    OAuth2TokenQueryFailed = 17,
    LoginDialogTimeoutInVqSSOServer = 19,
};

} // namespace WebServicesPrivateCore
