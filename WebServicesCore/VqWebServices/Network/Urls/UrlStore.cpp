#include "Network/Urls/UrlStore.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Network/Urls/SupportFiles.h"
#include "Network/Urls/UrlFile.h"
#include "Network/Urls/UrlKeys.h"
#include "Values/LibrarySettings.h"
#include "Values/ServerName.h"
#include "VqLog/LoggerWrapper.h"

#include <QHostAddress>
#include <QMutexLocker>
#include <QUrl>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

// On this machine alone nobody can listen on the way.
bool isSafe(const QUrl& service) {
    const QString host = service.host();
    const bool isLoopback = host == QLatin1String("localhost") || QHostAddress(host).isLoopback();
    return service.scheme() != QLatin1String("http") || isLoopback
           || librarySetting(QStringLiteral("AllowPlainHttp")).compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0;
}

} // namespace

QString urlFileName(Server server) {
    const char* const setting = server == Staging       ? "StagingServerConfigJsonFile"
                                : server == Development ? "DevServerConfigJsonFile"
                                                        : nullptr;
    QString named = setting ? librarySetting(QLatin1String(setting)) : QString();
    if (!named.isEmpty())
        return named;
    switch (server) {
    case Staging: return QStringLiteral("VqWebservicesURLs-Staging.config");
    case Development: return QStringLiteral("VqWebservicesURLs-Development.config");
    case Production: return QStringLiteral("VqWebservicesURLs.config");
    default: return {};
    }
}

UrlStore::UrlStore(std::shared_ptr<Log::ILogger> logger)
    : m_logger(std::move(logger)) {}

UrlStore& UrlStore::instance() {
    // Never destroyed: threads and static objects of the host may call it while the process ends.
    static auto* const store = new UrlStore(Log::makeLogger(QStringLiteral("VqWebServices.Network")));
    return *store;
}

QString UrlStore::GetUrl(Server server, const QString& key) {
    const QMutexLocker lock(&m_mutex);
    const UrlMap overrides = m_overrides.value(server);
    if (overrides.contains(key))
        return overrides.value(key);
    const LoadedFile file = loadedFile(server);
    const auto found = file.urls.constFind(key);
    if (found != file.urls.constEnd())
        return *found;
    m_logger->error(
        QStringLiteral(
            "Url entry '%1' not found in %2.\n\nPossibly you have old version of this file. This file is not installed with the product since it is meant only for internal use.\n\nPlease copy the file from the build posting.")
            .arg(key, file.path));
    return {};
}

QString UrlStore::GetUrl(Server server, WebServicesUrlCode code) {
    const QString key = urlKey(code);
    if (!key.isEmpty())
        return GetUrl(server, key);
    m_logger->error(QStringLiteral("There is no url with the code %1").arg(static_cast<int>(code)));
    return {};
}

QString UrlStore::endPoint(Server server, const QString& serviceKey, const QString& endPointKey) {
    QString service = GetUrl(server, serviceKey);
    const QString path = GetUrl(server, endPointKey);
    // "//" would be another path, which a server refuses like a wrong signature.
    if (path.startsWith(QLatin1Char('/')) && service.endsWith(QLatin1Char('/')))
        service.chop(1);
    if (!isSafe(QUrl(service))) {
        m_logger->error(
            QStringLiteral(
                "The service %1 is not used, since everybody on the way could read the tokens. Use https, or the setting AllowPlainHttp.")
                .arg(displayUrl(QUrl(service))));
        return {};
    }
    return service.isEmpty() || path.isEmpty() ? QString() : service + path;
}

bool UrlStore::SetUrlOverrides(Server server, const UrlMap& overrides) {
    const QMutexLocker lock(&m_mutex);
    m_overrides[server] = overrides;
    m_logger->information(
        QStringLiteral("Setting url overrides: %1=%2, etc.")
            .arg(overrides.isEmpty() ? QString() : overrides.firstKey(), overrides.isEmpty() ? QString() : overrides.first()));
    return true;
}

bool UrlStore::ClearUrlOverrides(Server server) {
    const QMutexLocker lock(&m_mutex);
    m_overrides.remove(server);
    m_logger->information(QStringLiteral("Clearing url overrides"));
    return true;
}

UrlMap UrlStore::GetUrlOverrides(Server server) {
    const QMutexLocker lock(&m_mutex);
    return m_overrides.value(server);
}

bool UrlStore::LoadUrls(Server server) {
    const QMutexLocker lock(&m_mutex);
    return load(server).isLoaded;
}

bool UrlStore::canUse(Server server) {
    const QString name = urlFileName(server);
    if (!name.isEmpty() && !SupportFiles::find(name).isEmpty())
        return true;
    m_logger->error(
        QStringLiteral(
            "Cannot use %1 server. Server config file '%2' could not be located in any of the following search paths:\n%3")
            .arg(serverName(server), name, SupportFiles::folders().join(QLatin1Char('\n'))));
    return false;
}

void UrlStore::clearCache() {
    const QMutexLocker lock(&m_mutex);
    m_files.clear();
}

UrlStore::LoadedFile UrlStore::loadedFile(Server server) {
    return m_files.contains(server) ? m_files.value(server) : load(server);
}

UrlStore::LoadedFile UrlStore::load(Server server) {
    const QString name = urlFileName(server);
    const QString found = name.isEmpty() ? QString() : SupportFiles::find(name);
    if (found.isEmpty()) {
        // A bare name would be opened in the host's working directory, where anybody may have put such a file.
        m_logger->error(QStringLiteral("VqWebservicesURLs JSON file is not exist: %1").arg(name));
        return {name, {}, false};
    }
    const std::optional<UrlMap> urls = readUrlFile(found, *m_logger);
    LoadedFile file{found, urls.value_or(UrlMap()), urls.has_value()};
    // Not remembered when it failed: a file that is missing or half written now may be complete at the next lookup.
    if (file.isLoaded)
        m_files.insert(server, file);
    else
        m_files.remove(server);
    return file;
}

} // namespace Velquor::WebServices::Internal
