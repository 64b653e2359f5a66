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

/// The library for a process that is one product: the operations address the process's default client, whose key is the process
/// id in decimal.
///
/// `Initialize` first, on the main thread; then `GetInstance`, `SetConfiguration` for each server, `RestoreLogin`. Every
/// operation may be called from any thread and from inside an observer. A call that comes while the library is not initialized
/// has its failure result and logs one line. Owner: the library.
///
/// What the web services know of the user (profile, entitlements, quota) is cached: the first request switches the cache on; a
/// value that is known, also from an earlier run, is given out at once whatever its age and renewed in the background. Only a
/// value that is not known is waited for, at most 63 seconds.
///
/// OAuth2 tokens are obtained in exchange for the access token, and kept and renewed for as long as they are enabled. Proxy
/// credentials are kept for all products of the user in the login state file.
class VQWEBSERVICES_EXPORT WebServicesManager {
public:
    // Life of the library; any thread, but `Initialize` and the last `Uninitialize` on the main thread

    /// Starts the library, or counts one more user of it. The first call reads the log configuration, creates an application
    /// object when the host has none, and must come from the host's main thread, on which observers are then called.
    /// Always true: what the start-up could not do is in the log.
    static bool Initialize();

    /// The same; with `enableOAuth2` the process's client gets OAuth2 tokens of type `RT` with the scope of its configuration. A
    /// library that is initialized already stays as it is.
    static bool Initialize(bool enableOAuth2);
    /// The second argument is ignored; it is kept for compatibility of the exported interface.
    static bool Initialize(bool enableOAuth2, bool);
    /// The same for OAuth2 tokens of this kind.
    static bool Initialize(const OAuth2TokenSpec& spec);

    /// Counts one user less; the last one shuts the library down. Always true.
    static bool Uninitialize();

    /// True while `Initialize` was called more often than `Uninitialize`.
    static bool IsInitialized();

    /// The facade; null while the library is not initialized.
    static WebServicesManager* GetInstance();

    /// The folders, separated by ";", in which "WebServices.logconfig" and the URL files are looked for beside the library's own
    /// folder. To be called before `Initialize`; a later call makes the URL files be read again.
    static void SetSupportFileSearchPaths(const wchar_t* paths);

    /// The folders joined with ";"; text buffer rule.
    static int GetSupportFileSearchPaths(wchar_t* buffer, int size);

    /// Adds the folders "plugins" beside the executable and beside the library to Qt's plug-in search path; `Initialize` does it
    /// too.
    static void SetDefaultPluginSearchPaths();
    /// Adds this folder to Qt's plug-in search path. Before `Initialize`, best before Qt's application object is made.
    static void AddPluginSearchPath(const wchar_t* path);

    /// For hosts whose main loop is not Qt's: delivers the library's events with every message that the calling thread takes from
    /// its queue. Windows only; elsewhere false and one log line: call `DispatchEvent` from the main loop instead.
    static bool SetEventHook();
    /// On the thread of `SetEventHook`. Always true.
    static bool RemoveEventHook();

    /// Delivers the events posted to the calling thread now. False when there is no application object.
    static bool DispatchEvent();

    /// Accepted and ignored.
    static void EnableLog(bool enable);

    // Configuration and server

    /// Registers or replaces the client's configuration for the configuration's server. False when its consumer key or secret is
    /// empty or its server is not a real one.
    bool SetConfiguration(const WebServicesConfiguration& configuration);

    /// The client's configuration for the current server, an empty one when there is none. Valid until the next call on the same
    /// thread.
    const WebServicesConfiguration& GetConfiguration();

    /// Changes the current server of all products, signing the user out of the one before. False when no URL file for the server
    /// can be found, or when the sign-out failed; the server is unchanged then. Waits for the network when a user is signed in.
    bool SetServer(Server server);

    /// The current server.
    Server GetServer();

    /// Always the empty text: only a client with a key of its own has a cache path (`WebServicesManagerEx`).
    int GetCachePath(wchar_t* buffer, int size);

    /// Accepted and ignored.
    void SetCachePath(const wchar_t* path);

    /// The full path of the login state file; text buffer rule.
    int GetLoginStateFile(wchar_t* buffer, int size);

    /// The URL of a code on the current server; text buffer rule. Empty when the URL file does not have it.
    int GetUrl(WebServicesUrlCode code, wchar_t* buffer, int size);

    // The signed-in user

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule. `GetLoginUserName` is the same under a
    /// name that no system header defines as a macro.
    int GetUserName(wchar_t* buffer, int size);

    /// The name of the signed-in user, empty when nobody is signed in; text buffer rule.
    int GetLoginUserName(wchar_t* buffer, int size);

    /// The id of the signed-in user; text buffer rule.
    int GetUserId(wchar_t* buffer, int size);

    /// The domain key that was given to the last sign-in; text buffer rule.
    int GetLdapDomainKey(wchar_t* buffer, int size);

    /// True when a user (for any product) is signed in.
    bool IsLoggedIn();

    /// True when a user (for any product) is signed in and the sign-in has not expired.
    bool IsLoginValid();

    /// True when the sign-in has expired.
    bool IsLoginExpired();

    /// When the sign-in expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    unsigned int GetLoginExpiryDate();

    /// The cookies of the sign-in as the value of an HTTP header "Cookie", in bytes without terminator. The result is their
    /// number; `cookie` was allocated with `new unsigned char[]` and is freed by the caller with `delete[]`; null when there are
    /// none (result 0).
    int GetLoginCookie(unsigned char*& cookie);

    // What the web services know of the user

    /** @{ */
    /// The user's e-mail address, first and last name; text buffer rule. Empty when the client is not signed in or nothing is
    /// known.
    int GetUserEmail(wchar_t* buffer, int size);
    int GetUserFirstName(wchar_t* buffer, int size);
    int GetUserLastName(wchar_t* buffer, int size);
    /** @} */

    /// The whole reply about the user, an XML text. `text` was allocated with `new wchar_t[]` and is freed by the caller with
    /// `delete[]`; false and null when the client is not signed in or nothing is known.
    bool GetUserInfo(wchar_t*& text);

    /// Whether the user may use the service of this name (case-sensitive). `NoLoginSession` when the client is not signed in.
    ServiceEntitlement GetServiceEntitlement(const wchar_t* service);
    /// The same with what the reply says of the service, an XML text; null when it does not name the service. `text` was
    /// allocated with `new wchar_t[]` and is freed by the caller with `delete[]`.
    ServiceEntitlement GetServiceEntitlement(const wchar_t* service, wchar_t*& text);

    /** @{ */
    /// The whole reply about the services that the user may use, or what it says of one service, as an XML text. `text` was
    /// allocated with `new wchar_t[]` and is freed by the caller with `delete[]`; false and null when the client is not signed
    /// in, nothing is known or the reply does not name the service.
    bool GetServiceEntitlementEx(wchar_t*& text);
    bool GetServiceEntitlementEx(const wchar_t* service, wchar_t*& text);
    /** @} */

    /// The user's cloud storage in bytes: how much is used, and how much there is. False, and both 0, when the client is not
    /// signed in or nothing is known.
    bool GetCloudStorageQuota(long long& used, long long& total);

    /// Whether the client uses the cache. It stays as it was set over sign-out and sign-in. False when the type is unknown.
    bool IsCacheEnabled(CacheType type);

    /// Switches the cache on or off; the requests above switch theirs on. Returns at once.
    void EnableCache(CacheType type, bool enable);

    /// True when the client is signed in and the cache has a value.
    bool IsCacheAvailable(CacheType type);

    /// Discards the value, so that the web service is asked for a new one. Returns at once; without effect when the client is not
    /// signed in.
    void InvalidateCache(CacheType type);

    // Signing in and out

    /// Restores the sign-in of all products from the login state file; to be called once after `SetConfiguration`. True also when
    /// nobody is signed in or it was restored before; false when the client is unknown or no real server is current. Works
    /// without the network.
    bool RestoreLogin();

    /** @{ */
    /// Obtains the URL of the sign-in page for the browser (text buffer rule; 8192 units suffice in practice). All forms do
    /// the same. `userName` is a hint for the service, such as the domain of the user; it may be null. `error` and
    /// `httpStatus` say why it failed; the status is 0 when no reply was received. False when `url` is null or `size` below 1 (no
    /// request is sent then). Waits for the network, at most 60 seconds.
    bool InitiateLogin(wchar_t* url, int size);
    bool InitiateLogin(wchar_t* url, int size, LoginError& error, int& httpStatus);
    /// The same; the second argument is ignored and kept for compatibility of the exported interface.
    bool InitiateLogin(const wchar_t* userName, int, wchar_t* url, int size, LoginError& error, int& httpStatus);
    bool InitiateLogin(const wchar_t* userName, wchar_t* url, int size, LoginErrorEx& error, int& httpStatus);
    /** @} */

    /// Completes the sign-in after the browser step, without cookies. True when the user is signed in. False when no sign-in was
    /// initiated or the service refuses it; nobody is signed in or out then. Waits for the network, at most 60 seconds.
    bool CompleteLogin();

    /// The same with the cookies that the browser got, which are copied.
    bool CompleteLogin(const NetworkCookieJar& cookies);

    /// The signed URL of the logout page for the browser (text buffer rule; 8192 units suffice in practice) and the cookies to
    /// clear there. False when nobody is signed in, an observer vetoed, or `url` is null or `size` below 1.
    bool InitiateLogout(wchar_t* url, int size, NetworkCookieJar& cookies);

    /// Forgets the user on this machine, for all products. False when nobody is signed in. Works without the network.
    bool CompleteLogout();

    /// The whole sign-out without a browser: tells the server, then forgets the user for all products. False when nobody is
    /// signed in or an observer vetoed. Waits for the network, at most 60 seconds.
    bool Logout();

    // Tokens and signing

    /// True when the client has an access token.
    bool IsTokenAvailable();

    /// The client's OAuth 1.0 access token; text buffer rule. Empty when there is none or it has expired.
    int GetAccessToken(wchar_t* buffer, int size);

    /// As above; without `checkExpiry` also a token that has expired.
    int GetAccessToken(wchar_t* buffer, int size, bool checkExpiry);

    /// When the access token expires, in seconds since 1970-01-01 UTC; 0 when it is not known.
    unsigned int GetTokenExpiryDate();

    /// True when the client has an access token that has expired.
    bool IsTokenExpired();

    /// Signs a request with OAuth 1.0 (RFC 5849, HMAC-SHA1) in the form that `mode` names. `params` are `count` (0 to 1000)
    /// parameters of a form body or query beside those in `url`, not encoded; null when there are none. `url` is absolute, http
    /// or https. `token` and `tokenSecret`, when not null, take the place of the client's access token. The result is freed by
    /// the caller with `delete[]`; null on failure. Does not ask the network, but waits for a sign-in or sign-out that is under
    /// way.
    wchar_t* SignRequest(const wchar_t* url, const RequestParam* params, int count, HttpMethod method, ParsingMode mode,
                         const wchar_t* token, const wchar_t* tokenSecret);

    /// The URL with a signature in its query, for the user's browser (GET). With `checkExpiry` an expired access token is a
    /// failure. The result is freed by the caller with `delete[]`; null on failure.
    wchar_t* SignUrlForBrowser(const wchar_t* url, bool checkExpiry);

    /// Asks for a new access token. An asynchronous call returns at once, with true when the request was started; a synchronous
    /// one waits for the network, at most 61 seconds, and tells whether there is a new token.
    bool RefreshToken(bool synchronous);

    // OAuth2 tokens

    /// True when OAuth2 is enabled for the client.
    bool IsOAuth2Enabled();

    /// Enables OAuth2 with the token of type `RT` with the configuration's scope, or disables it. True when the client is known.
    bool EnableOAuth2(bool enable);
    /// Enables OAuth2 with tokens of this kind beside those enabled before. The token is queried once the client is signed in and
    /// its configuration has OAuth2 keys. False when the client is unknown or the type is none.
    bool EnableOAuth2(const OAuth2TokenSpec& spec);
    /// Disables OAuth2 and discards the tokens in this process. False when the client is unknown.
    bool DisableOAuth2();

    /// The client's OAuth2 token of this kind. With `waitToFinish` a missing token is queried and an expired one renewed first,
    /// which waits for the network, at most 61 seconds a request; without, the call returns at once. False, and an empty token,
    /// when there is none.
    bool GetOAuth2AccessToken(const OAuth2TokenSpec& spec, OAuth2Token& token, bool waitToFinish);
    /// Deprecated, for the token of type `RT` alone: the text of the client's default token. A null buffer yields the length.
    /// Never truncates: a buffer smaller than length + 1 becomes the empty text, the result is 0 and an error is logged.
    int GetOAuth2AccessToken(wchar_t* buffer, int size, bool waitToFinish);

    /** @{ */
    /// Asks for a new OAuth2 token, as `RefreshToken`. All forms without a spec mean the client's default one: the one it was
    /// initialized with, or the first that was enabled.
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

    // The proxy of this process and the credentials that it asks for

    /// Title and message of the prompt for proxy credentials: the ones set here, or the library's own ("%1" stands for the
    /// proxy's host, "%2" for its port). Both are cut to their buffers. False when a buffer is null or a size below 1.
    bool GetProxyAuthenticationDialogText(wchar_t* caption, int captionSize, wchar_t* message, int messageSize);

    /// Title and message of the prompt until `Uninitialize`; null or empty goes back to the library's own. At most 259 units are
    /// shown.
    void SetProxyAuthenticationDialogText(const wchar_t* caption, const wchar_t* message);

    /// True when a user is stored for the proxy of this host name (case is ignored) and port; -1 stands for any port.
    bool HasProxyAuthentication(const wchar_t* host, int port);

    /// User and password that are stored for the proxy, cut to their buffers; -1 stands for any port. False when there are none,
    /// the host is empty, a buffer is null or a size below 1; nothing is written then.
    bool GetProxyAuthentication(const wchar_t* host, int port, wchar_t* user, int userSize, wchar_t* password, int passwordSize);

    /// Makes this the proxy of the process (of type HTTP, for everything in it that uses Qt's application proxy) and stores it,
    /// with the password encrypted. False when host or user is empty or the port is not 1 to 65535.
    bool SetProxyAuthentication(const wchar_t* host, int port, const wchar_t* user, const wchar_t* password);

    /// True when a proxy is stored.
    bool HasProxyInfo();

    /// Forgets the stored proxy, here and in the file; this process goes without a proxy from now on. False when the file could
    /// not be changed.
    bool ClearProxyInfo();

    // Observers and the log

    /// Adds an observer, which stays the caller's and must be removed before it goes. Null and a second time are ignored.
    void AddObserver(IWebServicesObserver* observer);

    /// Removes an observer; it is not called any more after the return, unless it is being called right now.
    void RemoveObserver(IWebServicesObserver* observer);

    /// True when at least one logger has a level other than off.
    bool IsLogEnabled();

    /// True when the login state is shared by all users of the machine.
    bool IsSSOEnabledForAllUsers();

private:
    friend class WebServicesManagerImp;
    WebServicesManager() = default;
    ~WebServicesManager() = default;
    WebServicesManager(const WebServicesManager&) = delete;
    WebServicesManager& operator=(const WebServicesManager&) = delete;
};

} // namespace Velquor::WebServices
