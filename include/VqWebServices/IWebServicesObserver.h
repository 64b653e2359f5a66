#pragma once

namespace Velquor::WebServices {

/// A product implements this interface to receive changes of the sign-in, in this process or by another one.
///
/// Registered with `WebServicesManager::AddObserver`. Thread: called on the thread that initialized the library (the host's main
/// thread), with no lock held. An observer may call the library, add and remove observers, sign in and sign out. Owner: the
/// product. The library keeps a pointer and never deletes the observer; remove it before it is destroyed. Errors: the library
/// catches and logs exceptions.
class IWebServicesObserver {
public:
    virtual ~IWebServicesObserver() = default;

    /// A user signed in. When an observer signs the user out again, the observers after it are not called.
    virtual void LoggedIn() {}

    /// `RestoreLogin` has read the login state of all products; a user may or may not be signed in.
    virtual void LoginRestored() {}

    /// The user is about to be signed out; set `veto` to keep the user signed in. Only the process that begins the sign-out asks
    /// its observers: a sign-out of another process cannot be vetoed here. They are asked, too, before a sign-in is given up that
    /// has expired or is refused by the server; a veto then keeps a sign-in of no use. A sign-out on another thread waits for the
    /// answer at most 61 seconds, and is cancelled without one; a dialog that asks the user has that long.
    virtual void AboutToLogout(bool& veto) { static_cast<void>(veto); }

    /// The user was signed out.
    virtual void LoggedOut() {}

    /// The product with this consumer key changed the server. The key is null-terminated and valid during the call.
    virtual void ServerChanged(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
};

} // namespace Velquor::WebServices
