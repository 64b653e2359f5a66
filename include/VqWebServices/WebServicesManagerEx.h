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

/// The library for a process with several products. Every operation names its client by the client key, usually the product's
/// consumer key. With an unknown key an operation returns its failure result.
///
/// Call `WebServicesManager::Initialize` first. Thread: any. Owner: the library. Errors: as for `WebServicesManager`. Cached
/// replies and OAuth2 tokens work as described there.
class VQWEBSERVICES_EXPORT WebServicesManagerEx {
public:
    /// The facade; null while the library is not initialized.
    static WebServicesManagerEx* GetInstanceEx();

    // Configuration and server

    /// Registers or replaces the client's configuration for the configuration's server. False when its consumer key or secret is
    /// empty or its server is not a real one.
    bool SetConfiguration(const QString& clientKey, const WebServicesConfiguration& configuration);

    /// The client's configuration for the current server; an empty one when there is none. The reference is valid until the next
    /// call on the same thread.
    const WebServicesConfiguration& GetConfiguration(const QString& clientKey);

    /// Changes the current server of all products, and signs the user out of the previous one. False when no URL file for the
    /// server can be found, or when the sign-out failed; the server does not change then. Waits for the network when a user is
    /// signed in.
    bool SetServer(const QString& clientKey, Server server);

    /// A folder of the client's own in the data folder; text buffer rule. The library neither makes nor uses it: cached replies
    /// are in one file for all products. Empty for an unknown client.
    int GetCachePath(const QString& clientKey, wchar_t* buffer, int size);

    // The signed-in user

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule.
    int GetLoginUserName(const QString& clientKey, wchar_t* buffer, int size);

    /// True when a user is signed in, and the client's product too.
    bool IsLoggedIn(const QString& clientKey);

    /// True when a user is signed in, and the client's product too, and the sign-in has not expired.
    bool IsLoginValid(const QString& clientKey);

    /// The cookies of the sign-in as the value of an HTTP header "Cookie", in bytes without terminator. The result is the number
    /// of bytes. `cookie` is allocated with `new unsigned char[]`, and the caller frees it with `delete[]`. Without cookies it is
    /// null and the result is 0.
    int GetLoginCookie(const QString& clientKey, unsigned char*& cookie);

    // Replies of the web services about the user

    /** @{ */
    /// The user's e-mail address, first and last name; text buffer rule. Empty when the client is not signed in, or when no reply
    /// is known.
    int GetUserEmail(const QString& clientKey, wchar_t* buffer, int size);
    int GetUserFirstName(const QString& clientKey, wchar_t* buffer, int size);
    int GetUserLastName(const QString& clientKey, wchar_t* buffer, int size);
    /** @} */

    /// The whole reply about the user, an XML text. `text` is allocated with `new wchar_t[]`, and the caller frees it with
    /// `delete[]`. False and null when the client is not signed in, or when no reply is known.
    bool GetUserInfo(const QString& clientKey, wchar_t*& text);

    /// Whether the user may use the service of this name (case-sensitive). `NoLoginSession` when the client is unknown or not
    /// signed in.
    ServiceEntitlement GetServiceEntitlement(const QString& clientKey, const wchar_t* service);
    /// The same, with the part of the reply about the service as an XML text; null when the reply does not name the service.
    /// `text` is allocated with `new wchar_t[]`, and the caller frees it with `delete[]`.
    ServiceEntitlement GetServiceEntitlement(const QString& clientKey, const wchar_t* service, wchar_t*& text);

    /** @{ */
    /// The whole reply about the services that the user may use, or its part about one service, as an XML text. `text` is
    /// allocated with `new wchar_t[]`, and the caller frees it with `delete[]`. False and null when the client is not signed in,
    /// no reply is known, or the reply does not name the service.
    bool GetServiceEntitlementEx(const QString& clientKey, wchar_t*& text);
    bool GetServiceEntitlementEx(const QString& clientKey, const wchar_t* service, wchar_t*& text);
    /** @} */

    /// The used and the total cloud storage of the user, in bytes. False, and both 0, when the client is not signed in, or when
    /// no reply is known.
    bool GetCloudStorageQuota(const QString& clientKey, long long& used, long long& total);

    /// Whether the client uses the cache. Sign-out and sign-in do not change the setting. False for an unknown client or type.
    bool IsCacheEnabled(const QString& clientKey, CacheType type);

    /// Switches the cache on or off. The requests above switch their cache on. Returns at once. An unknown client is only logged.
    void EnableCache(const QString& clientKey, CacheType type, bool enable);

    /// True when the client is signed in and the cache has a value.
    bool IsCacheAvailable(const QString& clientKey, CacheType type);

    /// Discards the value, so that the cache queries the web service for a new one. Returns at once. No effect when the client is
    /// not signed in.
    void InvalidateCache(const QString& clientKey, CacheType type);

    // Sign-in and sign-out

    /// Restores the sign-in of all products from the login state file. Call it once after `SetConfiguration`. True also when
    /// nobody is signed in, or when it was called before. False when the client is unknown, or when no real server is current.
    /// Works without the network.
    bool RestoreLogin(const QString& clientKey);

    /** @{ */
    /// The same as the forms of `WebServicesManager::InitiateLogin`.
    bool InitiateLogin(const QString& clientKey, wchar_t* url, int size);
    bool InitiateLogin(const QString& clientKey, wchar_t* url, int size, LoginError& error, int& httpStatus);
    bool InitiateLogin(const QString& clientKey, const wchar_t* userName, wchar_t* url, int size, LoginErrorEx& error,
                       int& httpStatus);
    /** @} */

    /// Completes the sign-in after the browser step, without cookies. True when the user is signed in. False when no sign-in was
    /// initiated, or when the service refuses it; the call then signs nobody in or out. Waits for the network, at most 60
    /// seconds.
    bool CompleteLogin(const QString& clientKey);

    /// The same, with the cookies of the browser. The library copies them.
    bool CompleteLogin(const QString& clientKey, const NetworkCookieJar& cookies);

    /// Obtains the signed URL of the logout page for the browser (text buffer rule; 8192 units suffice in practice), and the
    /// cookies to clear there. False when nobody is signed in, an observer vetoed, `url` is null, or `size` is below 1.
    bool InitiateLogout(const QString& clientKey, wchar_t* url, int size, NetworkCookieJar& cookies);

    /// Removes the user from this machine, for all products. False when nobody is signed in. Works without the network.
    bool CompleteLogout(const QString& clientKey);

    /// The whole sign-out without a browser: ends the session at the server, then removes the user for all products. False when
    /// nobody is signed in, or when an observer vetoed. Waits for the network, at most 60 seconds.
    bool Logout(const QString& clientKey);

    // Tokens and signing

    /// True when the client has an access token.
    bool IsTokenAvailable(const QString& clientKey);

    /// The client's OAuth 1.0 access token; text buffer rule. Empty when there is none or it has expired.
    int GetAccessToken(const QString& clientKey, wchar_t* buffer, int size);

    /// The same. Without `checkExpiry` it also returns a token that has expired.
    int GetAccessToken(const QString& clientKey, wchar_t* buffer, int size, bool checkExpiry);

    /// When the access token expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    unsigned int GetTokenExpiryDate(const QString& clientKey);

    /// True when the client has an access token that has expired.
    bool IsTokenExpired(const QString& clientKey);

    /// Signs a request with OAuth 1.0 (RFC 5849, HMAC-SHA1). `mode` selects the form of the result. `params` are `count` (0 to
    /// 1000) parameters of a form body or query in addition to those in `url`, not encoded; null when there are none. `url` is
    /// absolute, http or https, and encoded. Send it to the letter as it was given: its path is signed byte by byte, and "%7e"
    /// and
    /// "~" are two paths. (With Qt, sign what `QUrl::toEncoded` returns, since Qt sends that.) A URL that is not encoded is
    /// refused, except for `ParsingMode::SignedUrl`, whose result is encoded. A `token` that is not null signs together with
    /// `tokenSecret` in place of the client's access token, which must be there all the same. The caller frees the result with
    /// `delete[]`; null on failure. Waits for a sign-in or sign-out in progress, and for a running query or refresh of the token.
    /// An expired token is refreshed over the network first, which takes up to 61 seconds.
    wchar_t* SignRequest(const QString& clientKey, const wchar_t* url, const RequestParam* params, int count, HttpMethod method,
                         ParsingMode mode, const wchar_t* token, const wchar_t* tokenSecret);

    /// The URL with a signature in its query, for the user's browser (GET). With `checkExpiry` the call fails when the access
    /// token has expired. The caller frees the result with `delete[]`; null on failure.
    wchar_t* SignUrlForBrowser(const QString& clientKey, const wchar_t* url, bool checkExpiry);

    /// Requests a new access token. An asynchronous call returns at once, with true when the request was started. A synchronous
    /// call waits for the network, at most 61 seconds, and returns true when there is a new token.
    bool RefreshToken(const QString& clientKey, bool synchronous);

    // OAuth2 tokens

    /// True when OAuth2 is enabled for the client.
    bool IsOAuth2Enabled(const QString& clientKey);

    /// Enables OAuth2 with the token of type `RT` and the configuration's scope, or disables it. True when the client is known.
    bool EnableOAuth2(const QString& clientKey, bool enable);
    /// Enables OAuth2 with tokens of this kind, in addition to those enabled before. The library queries the token when the
    /// client is signed in and its configuration has OAuth2 keys. False when the client is unknown or the type is invalid.
    bool EnableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec);

    /// The client's OAuth2 token of this kind. A null spec means the client's default token, here and below. With `waitToFinish`
    /// the call first queries a missing token and renews an expired one. It then waits for the network, at most 61 seconds per
    /// request. Without `waitToFinish` it returns at once. False, and an empty token, when there is none.
    bool GetOAuth2AccessToken(OAuth2Token& token, const QString& clientKey, const OAuth2TokenSpec* spec, bool waitToFinish);

    /// Requests a new OAuth2 token, in the same way as `RefreshToken`.
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
