#pragma once

#include <VqWebServices/IWebServicesObserver.h>

namespace Velquor::WebServices {

/// Observers that also want to hear of OAuth 1.0 tokens. Registered, called and owned as an `IWebServicesObserver`; the library
/// finds out at each delivery whether an observer implements it. Consumer keys are null-terminated and valid during the call.
class IWebServicesObserver2 : public IWebServicesObserver {
public:
    /// A sign-out has begun in this process and nobody has vetoed it; the user is still signed in.
    virtual void LoggingOut() {}

    /// The access token of the product was renewed, in this process or another one.
    virtual void TokenRefreshed(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product has got its access token by the sign-in of another product.
    virtual void TokenAcquired(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product has an access token to use in this process.
    virtual void TokenAvailable(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product could not be signed in by the sign-in of another product.
    virtual void TokenQueryFailed(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
};

} // namespace Velquor::WebServices
