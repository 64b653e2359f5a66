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

/// What sibling modules of the same maker use beside the facades. Thread: any. Errors: false or empty, and one log line.
class VQWEBSERVICES_EXPORT WebServicesPrivate {
public:
    WebServicesPrivate() = delete;

    /// Compares every field that takes part in a sign-in, case-sensitively.
    static bool Equals(const WebServicesConfiguration& a, const WebServicesConfiguration& b);

    // JSON forms of cookies. The text forms are UTF-8. Reading fails for an empty or damaged object and leaves the result
    // unchanged; a jar's cookies are appended to it.

    static bool NetworkCookieToJson(const NetworkCookie& cookie, QJsonObject& json);
    static bool NetworkCookieToJson(const NetworkCookie& cookie, std::string& json);
    static bool JsonToNetworkCookie(const QJsonObject& json, NetworkCookie& cookie);
    static bool JsonToNetworkCookie(const char* json, NetworkCookie& cookie);
    static bool NetworkCookieJarToJson(const NetworkCookieJar& jar, QJsonObject& json);
    static bool NetworkCookieJarToJson(const NetworkCookieJar& jar, std::string& json);
    static bool JsonToNetworkCookieJar(const QJsonObject& json, NetworkCookieJar& jar);
    static bool JsonToNetworkCookieJar(const char* json, NetworkCookieJar& jar);

    // URLs of the current server: an override wins over the installed URL file.

    static QString GetUrl(const QString& key);
    static QString GetUrl(WebServicesUrlCode code);
    static bool SetUrlOverrides(Server server, const QMap<QString, QString>& overrides);
    static bool ClearUrlOverrides(Server server);
    static QMap<QString, QString> GetUrlOverrides();

    // The log.

    static bool SetupLog();
    /// The full path of the log configuration in use; empty when none can be found.
    static QString GetLogConfigFile();
    static QString GetLogFile();
    static QString GetLogFileFolder();
    static std::shared_ptr<Log::ILogger> GetLogger();

    /// Asks for proxy credentials with the product's own prompt instead of the system's; null goes back to that. To be called at any
    /// time, also before `Initialize`; it stays over `Uninitialize`. The library shares its ownership and lets go when it is replaced
    /// and no longer asking: set null before the code of the prompt is unloaded.
    static void SetCredentialPrompt(std::shared_ptr<ICredentialPrompt> prompt);

    // What becomes of tokens whose refresh fails. A client key stands for its product; the forms without one mean the process's
    // default client, and a null spec the client's default one.

    /// Sets the schedule for the OAuth2 tokens of all products of this process, now and later, in the place of all that were set before.
    /// Tries that are under way keep theirs. False when a period is negative or an interval is below 1 ms or too long for a timer.
    static bool SetOAuth2TokenRefreshRetrySchedule(const StdUtil::RetrySchedule& schedule);
    /// For one token of one product. A null spec needs an initialized library.
    static bool SetOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec,
                                                   const StdUtil::RetrySchedule& schedule);
    /// The schedule in force: the one set for the token, else the one for all, else the library's own.
    static StdUtil::RetrySchedule GetActiveOAuth2TokenRefreshRetrySchedule();
    static StdUtil::RetrySchedule GetActiveOAuth2TokenRefreshRetrySchedule(const QString& key, const OAuth2TokenSpec* spec);
    /// True when the token waits for its next look or try.
    static bool IsOAuth2TokenRefreshTimerActive();
    static bool IsOAuth2TokenRefreshTimerActive(const QString& key, const OAuth2TokenSpec& spec);
    static bool IsTokenRefreshTimerActive();
    static bool IsTokenRefreshTimerActive(const QString& key);

    // What support looks at. None of it holds a secret.

    /// The clients of this process with their configurations, and the product login sessions, as compact UTF-8 JSON:
    /// {"LoginSession": {"Clients": [...], "ProductLoginSessions": [...]}}. Empty before `Initialize`.
    static QByteArray GetLoginSessionDump();
    /// What the processes of the user show each other, line by line. Empty before `Initialize`.
    static QStringList GetProcessStateDump();

    // Events, for sibling modules that change what the library cannot see. Observers are called on the thread that initialized the
    // library; another thread does not wait for them. A number that is no event is ignored, with one log line.

    /// About the product of the process's default client. `sendToOthers` (the default): the other processes of the user hear it too.
    static void RaiseEvent(WebServicesPrivateCore::WebServicesEvent event);
    static void RaiseEvent(WebServicesPrivateCore::WebServicesEvent event, bool sendToOthers);
    /// About the product with this consumer key; it may be empty for an event that concerns the user.
    static void RaiseEvent(const QString& consumerKey, WebServicesPrivateCore::WebServicesEvent event);
    static void RaiseEvent(const QString& consumerKey, WebServicesPrivateCore::WebServicesEvent event, bool sendToOthers);

    static void AddObserver(IWebServicesObserver* observer);
    static void RemoveObserver(IWebServicesObserver* observer);
};

} // namespace Velquor::WebServices
