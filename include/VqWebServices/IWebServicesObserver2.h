#pragma once

#include <VqWebServices/IWebServicesObserver.h>

namespace Velquor::WebServices {

/// An observer that also receives events about OAuth 1.0 tokens. Registered, called and owned as an `IWebServicesObserver`. The
/// library checks at each delivery whether an observer implements it. Consumer keys are null-terminated and valid during the
/// call.
class IWebServicesObserver2 : public IWebServicesObserver {
public:
    /// A sign-out has begun in this process and no observer has vetoed it. The user is still signed in.
    virtual void LoggingOut() {}

    /// The access token of the product was renewed, in this process or another one.
    virtual void TokenRefreshed(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product has obtained its access token through the sign-in of another product.
    virtual void TokenAcquired(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product has an access token to use in this process.
    virtual void TokenAvailable(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product could not be signed in through the sign-in of another product.
    virtual void TokenQueryFailed(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
};

} // namespace Velquor::WebServices
