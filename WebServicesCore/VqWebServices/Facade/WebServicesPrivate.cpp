#include <VqWebServices/WebServicesPrivate.h>

#include "Facade/FacadeCall.h"
#include "Network/Proxy/ProxyPrompt.h"
#include "Network/Urls/UrlStore.h"
#include "Runtime/LogSetupHelper.h"
#include "Values/NetworkCookieImp.h"
#include "Values/NetworkCookieJarImp.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QJsonDocument>

namespace Velquor::WebServices {

using namespace Internal;

namespace {

constexpr int maximumJsonSize = 4 * 1024 * 1024;

std::string toText(const QJsonObject& json) {
    return QJsonDocument(json).toJson(QJsonDocument::Compact).toStdString();
}

QJsonObject toObject(const char* json) {
    const QByteArray text = json ? QByteArray(json, static_cast<int>(qstrnlen(json, maximumJsonSize))) : QByteArray();
    return text.size() < maximumJsonSize ? QJsonDocument::fromJson(text).object() : QJsonObject();
}

// Before the library is initialized the server is the one of a machine without a login state.
Server currentServer() {
    if (!WebServicesManagerImp::instance().session())
        return Production;
    return withSession("GetUrl", Production, [](LoginSession& session) { return session.currentServer(); });
}

// Logs one line when reading has failed.
bool report(bool done, const char* operation) {
    if (!done)
        Log::rootLogger().error(QStringLiteral("%1 failed. The json object is empty or damaged.").arg(QLatin1String(operation)));
    return done;
}

} // namespace

bool WebServicesPrivate::Equals(const WebServicesConfiguration& a, const WebServicesConfiguration& b) {
    return guarded("Equals", false,
                   [&] { return WebServicesConfigurationImp::of(a).equals(WebServicesConfigurationImp::of(b)); });
}

bool WebServicesPrivate::NetworkCookieToJson(const NetworkCookie& cookie, QJsonObject& json) {
    return guarded("NetworkCookieToJson", false, [&] {
        json = NetworkCookieImp::of(cookie).toJson();
        return true;
    });
}

bool WebServicesPrivate::NetworkCookieToJson(const NetworkCookie& cookie, std::string& json) {
    return guarded("NetworkCookieToJson", false, [&] {
        json = toText(NetworkCookieImp::of(cookie).toJson());
        return true;
    });
}

bool WebServicesPrivate::JsonToNetworkCookie(const QJsonObject& json, NetworkCookie& cookie) {
    return guarded("JsonToNetworkCookie", false,
                   [&] { return report(NetworkCookieImp::of(cookie).fromJson(json), "JsonToNetworkCookie"); });
}

bool WebServicesPrivate::JsonToNetworkCookie(const char* json, NetworkCookie& cookie) {
    return guarded("JsonToNetworkCookie", false, [&] { return JsonToNetworkCookie(toObject(json), cookie); });
}

bool WebServicesPrivate::NetworkCookieJarToJson(const NetworkCookieJar& jar, QJsonObject& json) {
    return guarded("NetworkCookieJarToJson", false, [&] {
        json = NetworkCookieJarImp::of(jar).toJson();
        return true;
    });
}

bool WebServicesPrivate::NetworkCookieJarToJson(const NetworkCookieJar& jar, std::string& json) {
    return guarded("NetworkCookieJarToJson", false, [&] {
        json = toText(NetworkCookieJarImp::of(jar).toJson());
        return true;
    });
}

bool WebServicesPrivate::JsonToNetworkCookieJar(const QJsonObject& json, NetworkCookieJar& jar) {
    return guarded("JsonToNetworkCookieJar", false,
                   [&] { return report(NetworkCookieJarImp::of(jar).fromJson(json), "JsonToNetworkCookieJar"); });
}

bool WebServicesPrivate::JsonToNetworkCookieJar(const char* json, NetworkCookieJar& jar) {
    return guarded("JsonToNetworkCookieJar", false, [&] { return JsonToNetworkCookieJar(toObject(json), jar); });
}

QString WebServicesPrivate::GetUrl(const QString& key) {
    return guarded("GetUrl", QString(), [&] { return UrlStore::instance().GetUrl(currentServer(), key); });
}

QString WebServicesPrivate::GetUrl(WebServicesUrlCode code) {
    return guarded("GetUrl", QString(), [&] { return UrlStore::instance().GetUrl(currentServer(), code); });
}

bool WebServicesPrivate::SetUrlOverrides(Server server, const QMap<QString, QString>& overrides) {
    return guarded("SetUrlOverrides", false, [&] { return UrlStore::instance().SetUrlOverrides(server, overrides); });
}

bool WebServicesPrivate::ClearUrlOverrides(Server server) {
    return guarded("ClearUrlOverrides", false, [&] { return UrlStore::instance().ClearUrlOverrides(server); });
}

QMap<QString, QString> WebServicesPrivate::GetUrlOverrides() {
    return guarded("GetUrlOverrides", UrlMap(), [&] { return UrlStore::instance().GetUrlOverrides(currentServer()); });
}

bool WebServicesPrivate::SetupLog() {
    return guarded("SetupLog", false, [&] { return LogSetupHelper::SetupLog(); });
}

QString WebServicesPrivate::GetLogConfigFile() {
    return guarded("GetLogConfigFile", QString(), [&] { return LogSetupHelper::findConfiguration(); });
}

QString WebServicesPrivate::GetLogFile() {
    return guarded("GetLogFile", QString(),
                   [&] { return LogSetupHelper::logFileFolder() + QLatin1Char('/') + LogSetupHelper::logFileName(); });
}

QString WebServicesPrivate::GetLogFileFolder() {
    return guarded("GetLogFileFolder", QString(), [&] { return LogSetupHelper::logFileFolder(); });
}

std::shared_ptr<Log::ILogger> WebServicesPrivate::GetLogger() {
    // Never destroyed: hosts log from the destructors of their static objects.
    static const auto* const logger = new std::shared_ptr<Log::ILogger>(Log::makeLogger(QStringLiteral("VqWebServices")));
    return *logger;
}

void WebServicesPrivate::SetCredentialPrompt(std::shared_ptr<ICredentialPrompt> prompt) {
    guarded("SetCredentialPrompt", [&] { ProxyPrompt::instance().setPrompt(std::move(prompt)); });
}

} // namespace Velquor::WebServices
