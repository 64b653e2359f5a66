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

/// Operations for sibling modules of the same maker, in addition to the facades.
///
/// A client key identifies its product. Forms without a key use the process's default client, and a null spec means the client's
/// default token. Thread: any; no operation waits for the network. Errors: false or empty, and one log line. Results are copies
/// that the caller owns.
class VQWEBSERVICES_EXPORT WebServicesPrivate {
public:
    WebServicesPrivate() = delete;

    /// Compares every field that takes part in a sign-in, case-sensitively.
    static bool Equals(const WebServicesConfiguration& a, const WebServicesConfiguration& b);

    // JSON forms of cookies and jars; the text forms are UTF-8.

    /** @{ */
    /// Replaces `json` with the JSON form of a cookie; always true.
    static bool NetworkCookieToJson(const NetworkCookie& cookie, QJsonObject& json);
    static bool NetworkCookieToJson(const NetworkCookie& cookie, std::string& json);
    /** @} */
    /** @{ */
    /// Reads the JSON form. Missing members are read as empty, false or 0. False, with the result unchanged, for null, an empty
    /// or damaged object, or a text of 4 MiB and more.
    static bool JsonToNetworkCookie(const QJsonObject& json, NetworkCookie& cookie);
    static bool JsonToNetworkCookie(const char* json, NetworkCookie& cookie);
    /** @} */
    /** @{ */
    /// Replaces `json` with the JSON form of a jar, with the cookies in their order; always true.
    static bool NetworkCookieJarToJson(const NetworkCookieJar& jar, QJsonObject& json);
    static bool NetworkCookieJarToJson(const NetworkCookieJar& jar, std::string& json);
    /** @} */
    /** @{ */
    /// Reads a jar in the same way as `JsonToNetworkCookie` reads a cookie, and appends the cookies to `jar`. It appends all, or
    /// none when one is damaged or there are more than 5000.
    static bool JsonToNetworkCookieJar(const QJsonObject& json, NetworkCookieJar& jar);
    static bool JsonToNetworkCookieJar(const char* json, NetworkCookieJar& jar);
    /** @} */

    // URLs: an override takes precedence over the installed URL file. Overrides belong to the process and also work before
    // `Initialize`.

    /** @{ */
    /// The URL with this key or code on the current server; before `Initialize`, on `Production`. Empty when there is none.
    static QString GetUrl(const QString& key);
    static QString GetUrl(WebServicesUrlCode code);
    /** @} */
    /// Replaces all overrides of the server with these URLs (by key), until the process ends; always true.
    static bool SetUrlOverrides(Server server, const QMap<QString, QString>& overrides);
    /// Removes the overrides of the server; always true.
    static bool ClearUrlOverrides(Server server);
    /// The overrides of the current server (before `Initialize`, of `Production`), by key; empty when there are none.
    static QMap<QString, QString> GetUrlOverrides();

    // The log.

    /// Sets up the log from the log configuration, as `Initialize` does. False when there is none, or when it cannot be applied.
    static bool SetupLog();
    /// The full path of the log configuration in use; empty when none can be found.
    static QString GetLogConfigFile();
    /** @{ */
    /// The full path of the log file, and of its folder, according to the present environment and settings. The file need not
    /// exist.
    static QString GetLogFile();
    static QString GetLogFileFolder();
    /** @} */
    /// The logger "VqWebServices", never null. The library shares it, for modules that are built with its own compiler and its
    /// sources: the header of the logger is not installed.
    static std::shared_ptr<Log::ILogger> GetLogger();

    /// Replaces the system's prompt for proxy credentials with the product's own; null restores the system's. May be called at
    /// any time, also before `Initialize`, and `Uninitialize` does not change it. The library shares ownership of the prompt. It
    /// releases a replaced prompt when that is no longer open. Set null before the code of the prompt is unloaded.
    static void SetCredentialPrompt(std::shared_ptr<ICredentialPrompt> prompt);

    /// Whether this process is the single-sign-on server, which signs other processes in. Its executable is named "VqSSOServer".
    static bool IsHostSSOServer();

    // Retries after a failed refresh of a token

    /// Sets the schedule for the OAuth2 tokens of all products of this process, present and future, and replaces all schedules
    /// set before. Retries in progress keep their schedule. False when a period is negative, or when an interval is below 1 ms or
    /// too long for a timer.
    static bool SetOAuth2TokenRefreshRetrySchedule(const StdUtil::RetrySchedule& schedule);
    /// The same for one token of one product. A null spec needs an initialized library. False also when the product cannot be
    /// determined.
    static bool SetOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec,
                                                   const StdUtil::RetrySchedule& schedule);
    /** @{ */
    /// The schedule in use: the one set for the token, else the one for all tokens, else the library's own.
    static StdUtil::RetrySchedule GetActiveOAuth2TokenRefreshRetrySchedule();
    static StdUtil::RetrySchedule GetActiveOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec);
    /** @} */
    /** @{ */
    /// True when the OAuth2 or OAuth 1.0 token waits for its next check or retry. False for an unknown key, and before
    /// `Initialize`.
    static bool IsOAuth2TokenRefreshTimerActive();
    static bool IsOAuth2TokenRefreshTimerActive(const QString& key, const OAuth2TokenSpec& spec);
    static bool IsTokenRefreshTimerActive();
    static bool IsTokenRefreshTimerActive(const QString& key);
    /** @} */

    // State dumps for support

    /// The clients of this process with their configurations, and the product login sessions, as compact UTF-8 JSON:
    /// {"LoginSession": {"Clients": [...], "ProductLoginSessions": [...]}}. Without secrets; empty before `Initialize`.
    static QByteArray GetLoginSessionDump();
    /// The state that the processes of the user show each other, line by line. Without secrets; empty before `Initialize`.
    static QStringList GetProcessStateDump();

    // Events, for sibling modules whose changes the library cannot detect

    /** @{ */
    /// Raises an event about the product of the process's default client. Observers are called on the thread that initialized the
    /// library; a call on another thread does not wait for them. A number that is not an event is ignored, with one log line.
    /// With `sendToOthers` (the default) the other processes of the user receive the event too, and their observers are called.
    /// `LoggedIn` reaches only processes in which the user is signed in. An event about one OAuth2 token is about the product's
    /// default one.
    static void RaiseEvent(WebServicesPrivateCore::WebServicesEvent event);
    static void RaiseEvent(WebServicesPrivateCore::WebServicesEvent event, bool sendToOthers);
    /** @} */
    /** @{ */
    /// The same for the product with this consumer key. The key may be empty for an event about the user.
    static void RaiseEvent(const QString& consumerKey, WebServicesPrivateCore::WebServicesEvent event);
    static void RaiseEvent(const QString& consumerKey, WebServicesPrivateCore::WebServicesEvent event, bool sendToOthers);
    /** @} */

    /** @{ */
    /// As `WebServicesManager::AddObserver` and `WebServicesManager::RemoveObserver`: the caller owns the observer.
    static void AddObserver(IWebServicesObserver* observer);
    static void RemoveObserver(IWebServicesObserver* observer);
    /** @} */
};

} // namespace Velquor::WebServices
