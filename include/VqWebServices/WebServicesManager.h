#pragma once

#include <VqWebServices/CacheType.h>
#include <VqWebServices/IWebServicesObserver.h>
#include <VqWebServices/LoginError.h>
#include <VqWebServices/NetworkCookieJar.h>
#include <VqWebServices/OAuth2Token.h>
#include <VqWebServices/RequestParam.h>
#include <VqWebServices/ServiceEntitlement.h>
#include <VqWebServices/VqWebServicesGlobal.h>
#include <VqWebServices/WebServicesConfiguration.h>
#include <VqWebServices/WebServicesUrlCode.h>

namespace Velquor::WebServices {

class WebServicesManagerImp;

/// The library for a process that is one product. The operations use the process's default client, whose key is the process id
/// in decimal.
///
/// Call `Initialize` first, on the main thread; then `GetInstance`, `SetConfiguration` for each server, and `RestoreLogin`. Every
/// operation may be called from any thread and from inside an observer. A call while the library is not initialized returns its
/// failure result and logs one line. Owner: the library.
///
/// Replies of the web services about the user (profile, entitlements, quota) are cached. The first request for a reply switches
/// its cache on. A known value is returned at once whatever its age, and renewed in the background. A value from an earlier run
/// is known as long as the access token is the same. A call waits only for an unknown value, at most 63 seconds, and fails
/// without the network.
///
/// The library exchanges the access token for OAuth2 tokens, and keeps and renews them while OAuth2 is enabled. Proxy credentials
/// are stored for all products of the user in the login state file.
class VQWEBSERVICES_EXPORT WebServicesManager {
public:
    // Lifetime of the library; any thread, but `Initialize` and the last `Uninitialize` on the main thread

    /// Starts the library, or counts one more user of it. The first call reads the log configuration, and creates an application
    /// object when the host has none. It must come from the host's main thread, on which observers are then called. A call on
    /// another thread during the first one waits for its end. Always true: the log contains the failures of the start-up.
    static bool Initialize();

    /// The same. With `enableOAuth2` the process's client gets OAuth2 tokens of type `RT` with the scope of its configuration. A
    /// library that is already initialized does not change.
    static bool Initialize(bool enableOAuth2);
    /// The second argument is ignored; it is kept for compatibility of the exported interface.
    static bool Initialize(bool enableOAuth2, bool);
    /// The same for OAuth2 tokens of this kind.
    static bool Initialize(const OAuth2TokenSpec& spec);

    /// Counts one user less. The last call shuts the library down. Always true. It may also come when the application object has
    /// gone, with which the library stops its work, or not at all before the process ends.
    static bool Uninitialize();

    /// True while `Initialize` has been called more often than `Uninitialize`.
    static bool IsInitialized();

    /// The facade; null while the library is not initialized.
    static WebServicesManager* GetInstance();

    /// Sets the folders, separated by ";", that are searched after the library's own folder for "WebServices.logconfig" and the
    /// URL files. Call it before `Initialize`. After a later call the URL files are read again.
    static void SetSupportFileSearchPaths(const wchar_t* paths);

    /// The folders joined with ";"; text buffer rule.
    static int GetSupportFileSearchPaths(wchar_t* buffer, int size);

    /// Adds the folders "plugins" next to the executable and next to the library to Qt's plug-in search path. `Initialize` does
    /// the same.
    static void SetDefaultPluginSearchPaths();
    /// Adds this folder to Qt's plug-in search path. Call it before `Initialize`, best before Qt's application object is created.
    static void AddPluginSearchPath(const wchar_t* path);

    /// For hosts whose main loop is not Qt's: delivers the library's events with every message that the calling thread takes from
    /// its queue. Windows only. On other systems it returns false and logs one line; call `DispatchEvent` from the main loop
    /// there.
    static bool SetEventHook();
    /// Removes the hook. Call it on the thread of `SetEventHook`. Always true.
    static bool RemoveEventHook();

    /// Delivers the events that are posted to the calling thread now. Call it on the thread of `Initialize`. False when there is
    /// no application object, or when the thread serves no events.
    static bool DispatchEvent();

    /// No effect; the argument is ignored.
    static void EnableLog(bool enable);

    // Configuration and server

    /// Registers or replaces the client's configuration for the configuration's server. False when its consumer key or secret is
    /// empty or its server is not a real one.
    bool SetConfiguration(const WebServicesConfiguration& configuration);

    /// The client's configuration for the current server; an empty one when there is none. The reference is valid until the next
    /// call on the same thread.
    const WebServicesConfiguration& GetConfiguration();

    /// Changes the current server of all products, and signs the user out of the previous one. False when no URL file for the
    /// server can be found, or when the sign-out failed; the server does not change then. Waits for the network when a user is
    /// signed in.
    bool SetServer(Server server);

    /// The current server.
    Server GetServer();

    /// Always the empty text: only a client with its own key has such a folder (`WebServicesManagerEx`).
    int GetCachePath(wchar_t* buffer, int size);

    /// No effect; the argument is ignored.
    void SetCachePath(const wchar_t* path);

    /// The full path of the login state file; text buffer rule.
    int GetLoginStateFile(wchar_t* buffer, int size);

    /// The URL of a code on the current server; text buffer rule. Empty when the URL file does not have it.
    int GetUrl(WebServicesUrlCode code, wchar_t* buffer, int size);

    // The signed-in user

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule. `GetLoginUserName` is the same operation
    /// under a name that no system header defines as a macro.
    int GetUserName(wchar_t* buffer, int size);

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule.
    int GetLoginUserName(wchar_t* buffer, int size);

    /// The id of the signed-in user; text buffer rule.
    int GetUserId(wchar_t* buffer, int size);

    /// The domain key of the last sign-in; text buffer rule.
    int GetLdapDomainKey(wchar_t* buffer, int size);

    /// True when a user is signed in, for any product.
    bool IsLoggedIn();

    /// True when a user is signed in, for any product, and the sign-in has not expired.
    bool IsLoginValid();

    /// True when the sign-in has expired.
    bool IsLoginExpired();

    /// When the sign-in expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    unsigned int GetLoginExpiryDate();

    /// The cookies of the sign-in as the value of an HTTP header "Cookie", in bytes without terminator. The result is the number
    /// of bytes. `cookie` is allocated with `new unsigned char[]`, and the caller frees it with `delete[]`. Without cookies it is
    /// null and the result is 0.
    int GetLoginCookie(unsigned char*& cookie);

    // Replies of the web services about the user

    /** @{ */
    /// The user's e-mail address, first and last name; text buffer rule. Empty when the client is not signed in, or when no reply
    /// is known.
    int GetUserEmail(wchar_t* buffer, int size);
    int GetUserFirstName(wchar_t* buffer, int size);
    int GetUserLastName(wchar_t* buffer, int size);
    /** @} */

    /// The whole reply about the user, an XML text. `text` is allocated with `new wchar_t[]`, and the caller frees it with
    /// `delete[]`. False and null when the client is not signed in, or when no reply is known.
    bool GetUserInfo(wchar_t*& text);

    /// Whether the user may use the service of this name (case-sensitive). `NoLoginSession` when the client is not signed in.
    ServiceEntitlement GetServiceEntitlement(const wchar_t* service);
    /// The same, with the part of the reply about the service as an XML text; null when the reply does not name the service.
    /// `text` is allocated with `new wchar_t[]`, and the caller frees it with `delete[]`.
    ServiceEntitlement GetServiceEntitlement(const wchar_t* service, wchar_t*& text);

    /** @{ */
    /// The whole reply about the services that the user may use, or its part about one service, as an XML text. `text` is
    /// allocated with `new wchar_t[]`, and the caller frees it with `delete[]`. False and null when the client is not signed in,
    /// no reply is known, or the reply does not name the service.
    bool GetServiceEntitlementEx(wchar_t*& text);
    bool GetServiceEntitlementEx(const wchar_t* service, wchar_t*& text);
    /** @} */

    /// The used and the total cloud storage of the user, in bytes. False, and both 0, when the client is not signed in, or when
    /// no reply is known.
    bool GetCloudStorageQuota(long long& used, long long& total);

    /// Whether the client uses the cache. Sign-out and sign-in do not change the setting. False when the type is unknown.
    bool IsCacheEnabled(CacheType type);

    /// Switches the cache on or off. The requests above switch their cache on. Returns at once.
    void EnableCache(CacheType type, bool enable);

    /// True when the client is signed in and the cache has a value.
    bool IsCacheAvailable(CacheType type);

    /// Discards the value, also in the cache file, so that the cache queries the web service for a new one. Returns at once. No
    /// effect when the client is not signed in.
    void InvalidateCache(CacheType type);

    // Sign-in and sign-out

    /// Restores the sign-in of all products from the login state file. Call it once after `SetConfiguration`. True also when
    /// nobody is signed in, or when it was called before. False when the client is unknown, or when no real server is current.
    /// Works without the network.
    bool RestoreLogin();

    /** @{ */
    /// Obtains the URL of the sign-in page for the browser (text buffer rule; 8192 units suffice in practice). All forms do the
    /// same. `userName` is a hint for the service, such as the domain of the user; it may be null. After a failure `error` and
    /// `httpStatus` give the reason; the status is 0 when no reply was received. False when `url` is null or `size` is below 1;
    /// no request is sent then. Waits for the network, at most 60 seconds.
    bool InitiateLogin(wchar_t* url, int size);
    bool InitiateLogin(wchar_t* url, int size, LoginError& error, int& httpStatus);
    /// The same. The second argument is ignored; it is kept for compatibility of the exported interface.
    bool InitiateLogin(const wchar_t* userName, int, wchar_t* url, int size, LoginError& error, int& httpStatus);
    bool InitiateLogin(const wchar_t* userName, wchar_t* url, int size, LoginErrorEx& error, int& httpStatus);
    /** @} */

    /// Completes the sign-in after the browser step, without cookies. True when the user is signed in. False when no sign-in was
    /// initiated, or when the service refuses it; the call then signs nobody in or out. Waits for the network, at most 60
    /// seconds.
    bool CompleteLogin();

    /// The same, with the cookies of the browser. The library copies them.
    bool CompleteLogin(const NetworkCookieJar& cookies);

    /// Obtains the signed URL of the logout page for the browser (text buffer rule; 8192 units suffice in practice), and the
    /// cookies to clear there. False when nobody is signed in, an observer vetoed, `url` is null, or `size` is below 1.
    bool InitiateLogout(wchar_t* url, int size, NetworkCookieJar& cookies);

    /// Removes the user from this machine, for all products. False when nobody is signed in. Works without the network.
    bool CompleteLogout();

    /// The whole sign-out without a browser: ends the session at the server, then removes the user for all products. False when
    /// nobody is signed in, or when an observer vetoed. Waits for the network, at most 60 seconds.
    bool Logout();

    // Tokens and signing

    /// True when the client has an access token.
    bool IsTokenAvailable();

    /// The client's OAuth 1.0 access token; text buffer rule. Empty when there is none or it has expired.
    int GetAccessToken(wchar_t* buffer, int size);

    /// The same. Without `checkExpiry` it also returns a token that has expired.
    int GetAccessToken(wchar_t* buffer, int size, bool checkExpiry);

    /// When the access token expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    unsigned int GetTokenExpiryDate();

    /// True when the client has an access token that has expired.
    bool IsTokenExpired();

    /// Signs a request with OAuth 1.0 (RFC 5849, HMAC-SHA1). `mode` selects the form of the result. `params` are `count` (0 to
    /// 1000) parameters of a form body or query in addition to those in `url`, not encoded; null when there are none. `url` is
    /// absolute, http or https, and encoded. Send it to the letter as it was given: its path is signed byte by byte, and "%7e"
    /// and
    /// "~" are two paths. (With Qt, sign what `QUrl::toEncoded` returns, since Qt sends that.) A URL that is not encoded is
    /// refused, except for `ParsingMode::SignedUrl`, whose result is encoded. A `token` that is not null signs together with
    /// `tokenSecret` in place of the client's access token, which must be there all the same. The caller frees the result with
    /// `delete[]`; null on failure. Waits for a sign-in or sign-out in progress, and for a running query or refresh of the token.
    /// An expired token is refreshed over the network first, which takes up to 61 seconds.
    wchar_t* SignRequest(const wchar_t* url, const RequestParam* params, int count, HttpMethod method, ParsingMode mode,
                         const wchar_t* token, const wchar_t* tokenSecret);

    /// The URL with a signature in its query, for the user's browser (GET). With `checkExpiry` an expired access token is
    /// refreshed first, as in `SignRequest`, and the call fails when that does. The caller frees the result with `delete[]`; null
    /// on failure.
    wchar_t* SignUrlForBrowser(const wchar_t* url, bool checkExpiry);

    /// Requests a new access token. An asynchronous call returns at once, with true when the request was started. A synchronous
    /// call waits for the network, at most 61 seconds, and returns true when there is a new token.
    bool RefreshToken(bool synchronous);

    // OAuth2 tokens

    /// True when OAuth2 is enabled for the client.
    bool IsOAuth2Enabled();

    /// Enables OAuth2 with the token of type `RT` and the configuration's scope, or disables it. True when the client is known.
    bool EnableOAuth2(bool enable);
    /// Enables OAuth2 with tokens of this kind, in addition to those enabled before. The library queries the token when the
    /// client is signed in and its configuration has OAuth2 keys. False when the client is unknown or the type is invalid.
    bool EnableOAuth2(const OAuth2TokenSpec& spec);
    /// Disables OAuth2 and discards the tokens in this process. False when the client is unknown.
    bool DisableOAuth2();

    /// The client's OAuth2 token of this kind. With `waitToFinish` the call first queries a missing token and renews an expired
    /// one. It then waits for the network, at most 61 seconds per request. Without `waitToFinish` it returns at once. False, and
    /// an empty token, when there is none.
    bool GetOAuth2AccessToken(const OAuth2TokenSpec& spec, OAuth2Token& token, bool waitToFinish);
    /// Deprecated, for the token of type `RT` only: the text of the client's default token. With a null buffer it only returns
    /// the length. It never truncates: a buffer smaller than length + 1 receives the empty text, the result is 0 and an error is
    /// logged.
    int GetOAuth2AccessToken(wchar_t* buffer, int size, bool waitToFinish);

    /** @{ */
    /// Requests a new OAuth2 token, in the same way as `RefreshToken`. All forms without a spec use the client's default token:
    /// the one that it was initialized with, or the first one that was enabled.
    bool RefreshOAuth2Token(bool synchronous);
    bool RefreshOAuth2Token(const OAuth2TokenSpec& spec, bool synchronous);
    /** @} */

    /** @{ */
    /// True when the client has such a token, also one that has expired.
    bool IsOAuth2TokenAvailable();
    bool IsOAuth2TokenAvailable(const OAuth2TokenSpec& spec);
    /** @} */

    /** @{ */
    /// True when the client has such a token and it has expired.
    bool IsOAuth2TokenExpired();
    bool IsOAuth2TokenExpired(const OAuth2TokenSpec& spec);
    /** @} */

    /** @{ */
    /// When the token expires, in seconds since 1970-01-01 UTC; 0 when there is none.
    unsigned int GetOAuth2TokenExpiryDate();
    unsigned int GetOAuth2TokenExpiryDate(const OAuth2TokenSpec& spec);
    /** @} */

    // The proxy of this process and its credentials

    /// Title and message of the prompt for proxy credentials: the texts set here, or the library's own ("%1" is the proxy's host,
    /// "%2" its port). Both are truncated to their buffers. False when a buffer is null or a size is below 1.
    bool GetProxyAuthenticationDialogText(wchar_t* caption, int captionSize, wchar_t* message, int messageSize);

    /// Sets title and message of the prompt until `Uninitialize`. Null or empty restores the library's own text. The prompt shows
    /// at most 259 units.
    void SetProxyAuthenticationDialogText(const wchar_t* caption, const wchar_t* message);

    /// True when a user is stored for the proxy with this host name (ignoring case) and port; -1 means any port.
    bool HasProxyAuthentication(const wchar_t* host, int port);

    /// The stored user and password of the proxy, truncated to their buffers; -1 means any port. False when there are none, the
    /// host is empty, a buffer is null, or a size is below 1; nothing is written then.
    bool GetProxyAuthentication(const wchar_t* host, int port, wchar_t* user, int userSize, wchar_t* password, int passwordSize);

    /// Makes this the proxy of the process and stores it, with the password encrypted. Its type is HTTP, and it applies to all
    /// code that uses Qt's application proxy. False when host or user is empty, or when the port is not 1 to 65535.
    bool SetProxyAuthentication(const wchar_t* host, int port, const wchar_t* user, const wchar_t* password);

    /// True when a proxy is stored.
    bool HasProxyInfo();

    /// Removes the stored proxy, here and in the file. This process uses no proxy from then on. False when the file could not be
    /// changed.
    bool ClearProxyInfo();

    // Observers and the log

    /// Adds an observer. The caller owns it and must remove it before it is destroyed. Null, and an observer that was already
    /// added, are ignored.
    void AddObserver(IWebServicesObserver* observer);

    /// Removes an observer. The library does not call it after the return, apart from a call that is already in progress.
    void RemoveObserver(IWebServicesObserver* observer);

    /// True when at least one logger has a level other than off.
    bool IsLogEnabled();

    /// True when the login state is in the data folder of all users of the machine (the setting "EnableSSOForAllUsers"). That
    /// folder serves one user, to whom it belongs; users never share a sign-in. False for every other user.
    bool IsSSOEnabledForAllUsers();

private:
    friend class WebServicesManagerImp;
    WebServicesManager() = default;
    ~WebServicesManager() = default;
    WebServicesManager(const WebServicesManager&) = delete;
    WebServicesManager& operator=(const WebServicesManager&) = delete;
};

} // namespace Velquor::WebServices
