#pragma once

#include <VqWebServices/IWebServicesObserver.h>

namespace Velquor::WebServices {

/// For sibling modules of the same maker that create accounts. Registered, called and owned as an `IWebServicesObserver`.
class IWebServicesObserverPrivate : public IWebServicesObserver {
public:
    /// An account was created for the user.
    virtual void AccountCreated() {}
};

/// For sibling modules of the same maker that work with the single-sign-on server. Registered, called and owned as an
/// `IWebServicesObserver`.
class IWebServicesSSOObserverPrivate : public IWebServicesObserver {
public:
    /// The user did not answer the sign-in dialog of the single-sign-on server in time.
    virtual void LoginDialogTimeoutInVqSSOServer() {}
};

} // namespace Velquor::WebServices
