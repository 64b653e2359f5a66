#pragma once

#include "VqLog/ILogger.h"

#include <QMap>
#include <QMutex>
#include <QString>
#include <VqWebServices/Server.h>
#include <VqWebServices/WebServicesUrlCode.h>
#include <memory>

namespace Velquor::WebServices::Internal {

using UrlMap = QMap<QString, QString>;

/// The addresses of the web services: read for each server from its installed JSON file, overridden at run time.
///
/// Thread: any. Owner: the process (`instance()`), since overrides and loaded files outlive one initialization; tests make their
/// own. Errors: an empty URL and one log line.
class UrlStore {
public:
    explicit UrlStore(std::shared_ptr<Log::ILogger> logger);
    static UrlStore& instance();

    /// The URL text of a key on a server: an override wins over the file, which is loaded at the first use.
    [[nodiscard]] QString GetUrl(Server server, const QString& key);
    [[nodiscard]] QString GetUrl(Server server, WebServicesUrlCode code);

    /// The address of a service and an end point on it, joined. Empty when one is missing, and where tokens would travel in
    /// clear: plain http to another machine, unless the setting AllowPlainHttp is "True".
    [[nodiscard]] QString endPoint(Server server, const QString& serviceKey, const QString& endPointKey);

    bool SetUrlOverrides(Server server, const UrlMap& overrides);
    bool ClearUrlOverrides(Server server);
    [[nodiscard]] UrlMap GetUrlOverrides(Server server);

    /// Reads the file of a server again. False when it is missing or damaged.
    bool LoadUrls(Server server);

    /// False, with a log line that names the searched folders, when no file for the server can be found.
    [[nodiscard]] bool canUse(Server server);

    /// Forgets the loaded files, so that the next lookup searches and reads them again.
    void clearCache();

private:
    struct LoadedFile {
        QString path;
        UrlMap urls;
        bool isLoaded = false;
    };

    [[nodiscard]] LoadedFile loadedFile(Server server);
    LoadedFile load(Server server);

    const std::shared_ptr<Log::ILogger> m_logger;
    QMutex m_mutex;
    QMap<int, LoadedFile> m_files; ///< Only files that could be read.
    QMap<int, UrlMap> m_overrides;
};

/// The name of the URL configuration file of a server; settings can replace it for `Staging` and `Development`.
[[nodiscard]] QString urlFileName(Server server);

} // namespace Velquor::WebServices::Internal
