#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <VqWebServices/IWebServicesObserver.h>
#include <VqWebServices/NetworkCookieJar.h>
#include <VqWebServices/VqWebServicesGlobal.h>
#include <VqWebServices/WebServicesConfiguration.h>
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

    static void AddObserver(IWebServicesObserver* observer);
    static void RemoveObserver(IWebServicesObserver* observer);
};

} // namespace Velquor::WebServices
