#pragma once

#include <VqWebServices/IWebServicesObserver2.h>

namespace Velquor::WebServices {

/// An observer that also receives events about OAuth2 tokens. Registered, called and owned as an `IWebServicesObserver`. The
/// library checks at each delivery whether an observer implements it. Consumer keys are null-terminated and valid during the
/// call.
class IWebServicesObserver3 : public IWebServicesObserver2 {
public:
    /** @{ */
    /// OAuth2 was switched on or off for the product, in this process or another one.
    virtual void OAuth2Enabled(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
    virtual void OAuth2Disabled(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
    /** @} */

    /// A process of the user has obtained an OAuth2 token for the product.
    virtual void OAuth2TokenAcquired(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// The product has an OAuth2 token to use in this process.
    virtual void OAuth2TokenAvailable(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// An OAuth2 token of the product was renewed, in this process or another one.
    virtual void OAuth2TokenRefreshed(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// An OAuth2 token of the product must not be used any more.
    virtual void OAuth2TokenDiscarded(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }

    /// An OAuth2 token of the product could not be obtained.
    virtual void OAuth2TokenQueryFailed(const wchar_t* consumerKey) { static_cast<void>(consumerKey); }
};

} // namespace Velquor::WebServices
