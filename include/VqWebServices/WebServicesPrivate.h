#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <VqWebServices/ICredentialPrompt.h>
#include <VqWebServices/IWebServicesObserver.h>
#include <VqWebServices/NetworkCookieJar.h>
#include <VqWebServices/OAuth2TokenSpec.h>
#include <VqWebServices/RetrySchedule.h>
#include <VqWebServices/VqWebServicesGlobal.h>
#include <VqWebServices/WebServicesConfiguration.h>
#include <VqWebServices/WebServicesEvent.h>
#include <VqWebServices/WebServicesUrlCode.h>
#include <memory>
#include <string>

namespace Velquor::Log {
class ILogger;
}

namespace Velquor::WebServices {

/// What sibling modules of the same maker use beside the facades.
///
/// A client key stands for its product; the forms without one mean the process's default client, and a null spec the client's
/// default one. Thread: any; nothing waits for the network. Errors: false or empty, and one log line. What is handed out is the
/// caller's copy.
class VQWEBSERVICES_EXPORT WebServicesPrivate {
public:
    WebServicesPrivate() = delete;

    /// Compares every field that takes part in a sign-in, case-sensitively.
    static bool Equals(const WebServicesConfiguration& a, const WebServicesConfiguration& b);

    // JSON forms of cookies and jars; the text forms are UTF-8.

    /** @{ */
    /// Writes the JSON form of a cookie over `json`; always true.
    static bool NetworkCookieToJson(const NetworkCookie& cookie, QJsonObject& json);
    static bool NetworkCookieToJson(const NetworkCookie& cookie, std::string& json);
    /** @} */
    /** @{ */
    /// Reads the JSON form; what is missing reads as empty, false or 0. False, with the result unchanged, for null, an empty or
    /// damaged object, or 4 MiB of text and more.
    static bool JsonToNetworkCookie(const QJsonObject& json, NetworkCookie& cookie);
    static bool JsonToNetworkCookie(const char* json, NetworkCookie& cookie);
    /** @} */
    /** @{ */
    /// Writes the JSON form of a jar over `json`, the cookies in their order; always true.
    static bool NetworkCookieJarToJson(const NetworkCookieJar& jar, QJsonObject& json);
    static bool NetworkCookieJarToJson(const NetworkCookieJar& jar, std::string& json);
    /** @} */
    /** @{ */
    /// Reads a jar as `JsonToNetworkCookie` reads a cookie, and appends the cookies to `jar`: all, or none when one is damaged or
    /// there are more than 5000.
    static bool JsonToNetworkCookieJar(const QJsonObject& json, NetworkCookieJar& jar);
    static bool JsonToNetworkCookieJar(const char* json, NetworkCookieJar& jar);
    /** @} */

    // URLs: an override wins over the installed URL file. They belong to the process, and are there before `Initialize` too.

    /** @{ */
    /// The URL with this key, or of this code, on the current server; before `Initialize`, on `Production`. Empty when there is
    /// none.
    static QString GetUrl(const QString& key);
    static QString GetUrl(WebServicesUrlCode code);
    /** @} */
    /// Puts these URLs (by key) in the place of all overrides of the server, until the process ends; always true.
    static bool SetUrlOverrides(Server server, const QMap<QString, QString>& overrides);
    /// Forgets the overrides of the server; always true.
    static bool ClearUrlOverrides(Server server);
    /// The overrides of the current server (before `Initialize`, of `Production`), by key; empty when there are none.
    static QMap<QString, QString> GetUrlOverrides();

    // The log.

    /// Sets the log up from the log configuration, as `Initialize` does. False when there is none or it cannot be applied.
    static bool SetupLog();
    /// The full path of the log configuration in use; empty when none can be found.
    static QString GetLogConfigFile();
    /** @{ */
    /// The full path of the log file, and of the folder that it is in, from environment and settings as they are now; whether the
    /// file exists is not looked at.
    static QString GetLogFile();
    static QString GetLogFileFolder();
    /** @} */
    /// The logger "VqWebServices", never null; shared with the library, for modules that are built with its own compiler.
    static std::shared_ptr<Log::ILogger> GetLogger();

    /// Asks for proxy credentials with the product's own prompt instead of the system's; null goes back to that. To be called at
    /// any time, also before `Initialize`; it stays over `Uninitialize`. The library shares its ownership and lets go when it is
    /// replaced and no longer asking: set null before the code of the prompt is unloaded.
    static void SetCredentialPrompt(std::shared_ptr<ICredentialPrompt> prompt);

    /// Whether this process is the single-sign-on server, which signs other processes in; its executable is named "VqSSOServer".
    static bool IsHostSSOServer();

    // What becomes of tokens whose refresh fails

    /// Sets the schedule for the OAuth2 tokens of all products of this process, now and later, in the place of all that were set
    /// before. Tries that are under way keep theirs. False when a period is negative or an interval is below 1 ms or too long for
    /// a timer.
    static bool SetOAuth2TokenRefreshRetrySchedule(const StdUtil::RetrySchedule& schedule);
    /// The same for one token of one product. A null spec needs an initialized library; false also when the product is not clear.
    static bool SetOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec,
                                                   const StdUtil::RetrySchedule& schedule);
    /** @{ */
    /// The schedule in force: the one set for the token, else the one for all, else the library's own.
    static StdUtil::RetrySchedule GetActiveOAuth2TokenRefreshRetrySchedule();
    static StdUtil::RetrySchedule GetActiveOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec);
    /** @} */
    /** @{ */
    /// True when the token, OAuth2 or OAuth 1.0, waits for its next look or try. False for an unknown key and before
    /// `Initialize`.
    static bool IsOAuth2TokenRefreshTimerActive();
    static bool IsOAuth2TokenRefreshTimerActive(const QString& key, const OAuth2TokenSpec& spec);
    static bool IsTokenRefreshTimerActive();
    static bool IsTokenRefreshTimerActive(const QString& key);
    /** @} */

    // What support looks at

    /// The clients of this process with their configurations, and the product login sessions, as compact UTF-8 JSON:
    /// {"LoginSession": {"Clients": [...], "ProductLoginSessions": [...]}}. Without secrets; empty before `Initialize`.
    static QByteArray GetLoginSessionDump();
    /// What the processes of the user show each other, line by line. Without secrets; empty before `Initialize`.
    static QStringList GetProcessStateDump();

    // Events, for sibling modules that change what the library cannot see

    /** @{ */
    /// Raises an event about the product of the process's default client. Observers are called on the thread that initialized the
    /// library; another thread does not wait for them. A number that is no event is ignored, with one log line. `sendToOthers`
    /// (the default): the other processes of the user hear it too.
    static void RaiseEvent(WebServicesPrivateCore::WebServicesEvent event);
    static void RaiseEvent(WebServicesPrivateCore::WebServicesEvent event, bool sendToOthers);
    /** @} */
    /** @{ */
    /// The same about the product with this consumer key; it may be empty for an event that concerns the user.
    static void RaiseEvent(const QString& consumerKey, WebServicesPrivateCore::WebServicesEvent event);
    static void RaiseEvent(const QString& consumerKey, WebServicesPrivateCore::WebServicesEvent event, bool sendToOthers);
    /** @} */

    /** @{ */
    /// As `WebServicesManager::AddObserver` and `WebServicesManager::RemoveObserver`: the observer stays the caller's.
    static void AddObserver(IWebServicesObserver* observer);
    static void RemoveObserver(IWebServicesObserver* observer);
    /** @} */
};

} // namespace Velquor::WebServices
