#pragma once

#include <VqWebServices/Server.h>
#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class WebServicesConfigurationImp;

/// The configuration of one product (client) for one server: its OAuth keys and its identity.
///
/// Setters take null-terminated text and store it unchanged. A null pointer counts as the empty text, which is the default of
/// every text. Getters follow the text buffer rule (VqWebServicesGlobal.h). Copies share nothing. Keys and secrets are encrypted
/// in memory and never logged.
///
/// Thread: any, one at a time for each object. Owner: the caller. Errors: a text that is too long or not
/// Unicode changes nothing and is logged. `SetConfiguration` of the facades checks the whole configuration.
class VQWEBSERVICES_EXPORT WebServicesConfiguration {
public:
    /** @{ */
    /// An empty configuration for `Production`, or a copy.
    WebServicesConfiguration();
    WebServicesConfiguration(const WebServicesConfiguration& other);
    WebServicesConfiguration& operator=(const WebServicesConfiguration& other);
    /** @} */
    virtual ~WebServicesConfiguration();

    /** @{ */
    /// The OAuth 1.0 consumer key; it also identifies the product (client key). Required.
    void SetConsumerKey(const wchar_t* text);
    int GetConsumerKey(wchar_t* buffer, int size) const;
    /** @} */

    /** @{ */
    /// The OAuth 1.0 consumer secret. Required.
    void SetConsumerSecret(const wchar_t* text);
    int GetConsumerSecret(wchar_t* buffer, int size) const;
    /** @} */

    /** @{ */
    /// Identity of the installed product. A text that is not empty is sent when the library requests a request token.
    void SetSerialNumber(const wchar_t* text);
    int GetSerialNumber(wchar_t* buffer, int size) const;
    void SetProductLineCode(const wchar_t* text);
    int GetProductLineCode(wchar_t* buffer, int size) const;
    void SetUPIRelease(const wchar_t* text);
    int GetUPIRelease(wchar_t* buffer, int size) const;
    void SetUPIMaster(const wchar_t* text);
    int GetUPIMaster(wchar_t* buffer, int size) const;
    void SetUPIBuild(const wchar_t* text);
    int GetUPIBuild(wchar_t* buffer, int size) const;
    void SetFeatureName(const wchar_t* text);
    int GetFeatureName(wchar_t* buffer, int size) const;
    void SetFeatureVersion(const wchar_t* text);
    int GetFeatureVersion(wchar_t* buffer, int size) const;
    /** @} */

    /** @{ */
    /// No effect; kept for compatibility of the exported interface. The argument is ignored, and the result is the empty text.
    void SetCIPUserId(const wchar_t* text);
    int GetCIPUserId(wchar_t* buffer, int size) const;
    /** @} */

    /** @{ */
    /// The server of this configuration; the default is `Production`.
    void SetServer(Server server);
    Server GetServer() const;
    /** @} */

    /** @{ */
    /// The OAuth2 client (key and secret) that obtains OAuth2 tokens, and the scope of the default token, words separated by
    /// blanks. Empty when the product does not use OAuth2.
    void SetOAuth2ConsumerKey(const wchar_t* text);
    int GetOAuth2ConsumerKey(wchar_t* buffer, int size) const;
    void SetOAuth2ConsumerSecret(const wchar_t* text);
    int GetOAuth2ConsumerSecret(wchar_t* buffer, int size) const;
    void SetOAuth2AccessTokenScope(const wchar_t* text);
    int GetOAuth2AccessTokenScope(wchar_t* buffer, int size) const;
    /** @} */

private:
    friend class WebServicesConfigurationImp;
    WebServicesConfigurationImp* m_imp;
};

} // namespace Velquor::WebServices
