#pragma once

namespace Velquor::WebServices {

/// What a product implements to hear of changes of the sign-in, in this process or made by another one.
///
/// Registered with `WebServicesManager::AddObserver`, called on the thread that initialized the library (the host's main thread),
/// with no lock held; it may call the library, add and remove observers, sign in and sign out. Held by pointer, never owned or
/// deleted by the library: remove it before it goes. What it throws is caught and logged.
class IWebServicesObserver {
public:
    virtual ~IWebServicesObserver() = default;

    /// A user signed in. Not called for observers after one that signed the user out again.
    virtual void LoggedIn() {}

    /// `RestoreLogin` has read the login state of all products; a user may or may not be signed in.
    virtual void LoginRestored() {}

    /// The user is about to be signed out; set `veto` to keep the user signed in.
    virtual void AboutToLogout(bool& veto) { static_cast<void>(veto); }

    /// The user was signed out.
    virtual void LoggedOut() {}

    /// The server was changed at the wish of the product with this consumer key (null-terminated, valid during the call).
    virtual void ServerChanged(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
};

} // namespace Velquor::WebServices
