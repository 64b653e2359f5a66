#pragma once

#include <QString>
#include <VqWebServices/CacheType.h>
#include <VqWebServices/LoginError.h>
#include <VqWebServices/NetworkCookieJar.h>
#include <VqWebServices/OAuth2Token.h>
#include <VqWebServices/RequestParam.h>
#include <VqWebServices/ServiceEntitlement.h>
#include <VqWebServices/VqWebServicesGlobal.h>
#include <VqWebServices/WebServicesConfiguration.h>

namespace Velquor::WebServices {

/// The library for a process in which several products share it: every operation names its client by the client key, usually the
/// product's consumer key. An unknown key has the operation's failure result.
///
/// `WebServicesManager::Initialize` first. Thread: any. Owner: the library. Errors: as of `WebServicesManager`, whose word on
/// cached replies and OAuth2 tokens holds here too.
class VQWEBSERVICES_EXPORT WebServicesManagerEx {
public:
    /// The facade; null while the library is not initialized.
    static WebServicesManagerEx* GetInstanceEx();

    // Configuration and server

    /// Registers or replaces the client's configuration for the configuration's server. False when its consumer key or secret is
    /// empty or its server is not a real one.
    bool SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration);

    /// The client's configuration for the current server, an empty one when there is none. Valid until the next call on the same
    /// thread.
    const WebServicesConfiguration& GetConfiguration(const QString& clientKey);

    /// Changes the current server of all products, signing the user out of the one before. False when no URL file for the server
    /// can be found, or when the sign-out failed; the server is unchanged then. Waits for the network when a user is signed in.
    bool SetServer(const QString& clientKey, Server server);

    /// The folder for the client's cached replies; text buffer rule. Empty for an unknown client.
    int GetCachePath(const QString& clientKey, wchar_t* buffer, int size);

    // The signed-in user

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule.
    int GetLoginUserName(const QString& clientKey, wchar_t* buffer, int size);

    /// True when a user, and the client's product with them, is signed in.
    bool IsLoggedIn(const QString& clientKey);

    /// True when a user, and the client's product with them, is signed in and the sign-in has not expired.
    bool IsLoginValid(const QString& clientKey);

    /// The cookies of the sign-in as the value of an HTTP header "Cookie", in bytes without terminator. The result is their
    /// number; `cookie` was allocated with `new unsigned char[]` and is freed by the caller with `delete[]`; null when there are
    /// none (result 0).
    int GetLoginCookie(const QString& clientKey, unsigned char*& cookie);

    // What the web services know of the user

    /** @{ */
    /// The user's e-mail address, first and last name; text buffer rule. Empty when the client is not signed in or nothing is
    /// known.
    int GetUserEmail(const QString& clientKey, wchar_t* buffer, int size);
    int GetUserFirstName(const QString& clientKey, wchar_t* buffer, int size);
    int GetUserLastName(const QString& clientKey, wchar_t* buffer, int size);
    /** @} */

    /// The whole reply about the user, an XML text. `text` was allocated with `new wchar_t[]` and is freed by the caller with
    /// `delete[]`; false and null when the client is not signed in or nothing is known.
    bool GetUserInfo(const QString& clientKey, wchar_t*& text);

    /// Whether the user may use the service of this name (case-sensitive). `NoLoginSession` when the client is unknown or not
    /// signed in.
    ServiceEntitlement GetServiceEntitlement(const QString& clientKey, const wchar_t* service);
    /// The same with what the reply says of the service, an XML text; null when it does not name the service. `text` was
    /// allocated with `new wchar_t[]` and is freed by the caller with `delete[]`.
    ServiceEntitlement GetServiceEntitlement(const QString& clientKey, const wchar_t* service, wchar_t*& text);

    /** @{ */
    /// The whole reply about the services that the user may use, or what it says of one service, as an XML text. `text` was
    /// allocated with `new wchar_t[]` and is freed by the caller with `delete[]`; false and null when the client is not signed
    /// in, nothing is known or the reply does not name the service.
    bool GetServiceEntitlementEx(const QString& clientKey, wchar_t*& text);
    bool GetServiceEntitlementEx(const QString& clientKey, const wchar_t* service, wchar_t*& text);
    /** @} */

    /// The user's cloud storage in bytes: how much is used, and how much there is. False, and both 0, when the client is not
    /// signed in or nothing is known.
    bool GetCloudStorageQuota(const QString& clientKey, long long& used, long long& total);

    /// Whether the client uses the cache. It stays as it was set over sign-out and sign-in. False for an unknown client or type.
    bool IsCacheEnabled(const QString& clientKey, CacheType type);

    /// Switches the cache on or off; the requests above switch theirs on. Returns at once. An unknown client is only logged.
    void EnableCache(const QString& clientKey, CacheType type, bool enable);

    /// True when the client is signed in and the cache has a value.
    bool IsCacheAvailable(const QString& clientKey, CacheType type);

    /// Discards the value, so that the web service is asked for a new one. Returns at once; without effect when the client is not
    /// signed in.
    void InvalidateCache(const QString& clientKey, CacheType type);

    // Signing in and out

    /// Restores the sign-in of all products from the login state file; to be called once after `SetConfiguration`. True also when
    /// nobody is signed in or it was restored before; false when the client is unknown or no real server is current. Works
    /// without the network.
    bool RestoreLogin(const QString& clientKey);

    /** @{ */
    /// As the forms of `WebServicesManager::InitiateLogin`.
    bool InitiateLogin(const QString& clientKey, wchar_t* url, int size);
    bool InitiateLogin(const QString& clientKey, wchar_t* url, int size, LoginError& error, int& httpStatus);
    bool InitiateLogin(const QString& clientKey, const wchar_t* userName, wchar_t* url, int size, LoginErrorEx& error,
                       int& httpStatus);
    /** @} */

    /// Completes the sign-in after the browser step, without cookies. True when the user is signed in. False when no sign-in was
    /// initiated or the service refuses it; nobody is signed in or out then. Waits for the network, at most 60 seconds.
    bool CompleteLogin(const QString& clientKey);

    /// The same with the cookies that the browser got, which are copied.
    bool CompleteLogin(const QString& clientKey, const NetworkCookieJar& cookies);

    /// The signed URL of the logout page for the browser (text buffer rule; 8192 units suffice in practice) and the cookies to
    /// clear there. False when nobody is signed in, an observer vetoed, or `url` is null or `size` below 1.
    bool InitiateLogout(const QString& clientKey, wchar_t* url, int size, NetworkCookieJar& cookies);

    /// Forgets the user on this machine, for all products. False when nobody is signed in. Works without the network.
    bool CompleteLogout(const QString& clientKey);

    /// The whole sign-out without a browser: tells the server, then forgets the user for all products. False when nobody is
    /// signed in or an observer vetoed. Waits for the network, at most 60 seconds.
    bool Logout(const QString& clientKey);

    // Tokens and signing

    /// True when the client has an access token.
    bool IsTokenAvailable(const QString& clientKey);

    /// The client's OAuth 1.0 access token; text buffer rule. Empty when there is none or it has expired.
    int GetAccessToken(const QString& clientKey, wchar_t* buffer, int size);

    /// As above; without `checkExpiry` also a token that has expired.
    int GetAccessToken(const QString& clientKey, wchar_t* buffer, int size, bool checkExpiry);

    /// When the access token expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    unsigned int GetTokenExpiryDate(const QString& clientKey);

    /// True when the client has an access token that has expired.
    bool IsTokenExpired(const QString& clientKey);

    /// Signs a request with OAuth 1.0 (RFC 5849, HMAC-SHA1) in the form that `mode` names. `params` are `count` (0 to 1000)
    /// parameters of a form body or query beside those in `url`, not encoded; null when there are none. `url` is absolute, http
    /// or https. `token` and `tokenSecret`, when not null, take the place of the client's access token. The result is freed by
    /// the caller with `delete[]`; null on failure. Does not ask the network, but waits for a sign-in or sign-out that is under
    /// way.
    wchar_t* SignRequest(const QString& clientKey, const wchar_t* url, const RequestParam* params, int count, HttpMethod method,
                         ParsingMode mode, const wchar_t* token, const wchar_t* tokenSecret);

    /// The URL with a signature in its query, for the user's browser (GET). With `checkExpiry` an expired access token is a
    /// failure. The result is freed by the caller with `delete[]`; null on failure.
    wchar_t* SignUrlForBrowser(const QString& clientKey, const wchar_t* url, bool checkExpiry);

    /// Asks for a new access token. An asynchronous call returns at once, with true when the request was started; a synchronous
    /// one waits for the network, at most 61 seconds, and tells whether there is a new token.
    bool RefreshToken(const QString& clientKey, bool synchronous);

    // OAuth2 tokens

    /// True when OAuth2 is enabled for the client.
    bool IsOAuth2Enabled(const QString& clientKey);

    /// Enables OAuth2 with the token of type `RT` with the configuration's scope, or disables it. True when the client is known.
    bool EnableOAuth2(const QString& clientKey, bool enable);
    /// Enables OAuth2 with tokens of this kind beside those enabled before. The token is queried once the client is signed in and
    /// its configuration has OAuth2 keys. False when the client is unknown or the type is none.
    bool EnableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec);

    /// The client's OAuth2 token of this kind; a null spec means the client's default one, here and below. With `waitToFinish` a
    /// missing token is queried and an expired one renewed first, which waits for the network, at most 61 seconds a request;
    /// without, the call returns at once. False, and an empty token, when there is none.
    bool GetOAuth2AccessToken(OAuth2Token& token, const QString& clientKey, const OAuth2TokenSpec* spec, bool waitToFinish);

    /// Asks for a new OAuth2 token, as `RefreshToken`.
    bool RefreshOAuth2Token(const QString& clientKey, const OAuth2TokenSpec* spec, bool synchronous);

    /// True when the client has such a token, also one that has expired.
    bool IsOAuth2TokenAvailable(const QString& clientKey, const OAuth2TokenSpec* spec);

    /// True when the client has such a token and it has expired.
    bool IsOAuth2TokenExpired(const QString& clientKey, const OAuth2TokenSpec* spec);

    /// When the token expires, in seconds since 1970-01-01 UTC; 0 when there is none.
    unsigned int GetOAuth2TokenExpiryDate(const QString& clientKey, const OAuth2TokenSpec* spec);

protected:
    WebServicesManagerEx() = default;
    ~WebServicesManagerEx() = default;
    WebServicesManagerEx(const WebServicesManagerEx&) = delete;
    WebServicesManagerEx& operator=(const WebServicesManagerEx&) = delete;
};

} // namespace Velquor::WebServices
