#include "UrlFile.h"

#include "Doctor/SetUp.h"
#include "Platform/Settings.h"
#include "Texts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

using namespace Velquor::WebServices;

namespace Vqws {

// The library does not read a larger file.
constexpr qint64 largestFile = 1024LL * 1024;

UrlFile readUrlFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, false, QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString())};
    if (file.size() > largestFile)
        return {{}, true, QStringLiteral("%1 is larger than the library reads").arg(path)};
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError)
        return {{}, true, QStringLiteral("%1 is no JSON at byte %2: %3").arg(path).arg(error.offset).arg(error.errorString())};
    const QJsonObject services =
        document.object().value(QLatin1String("Configurations")).toObject().value(QLatin1String("WebServices")).toObject();
    return {services.value(QLatin1String("Urls")).toObject(), true, {}};
}

QString urlFileName(Server server) {
    if (server == Production)
        return QStringLiteral("VqWebservicesURLs.config");
    const QString named =
        setting(server == Staging ? QStringLiteral("StagingServerConfigJsonFile") : QStringLiteral("DevServerConfigJsonFile"));
    return named.isEmpty() ? QStringLiteral("VqWebservicesURLs-%1.config").arg(serverText(server)) : named;
}

QString joinedAddress(const QString& service, const QString& path) {
    const bool isDouble = service.endsWith(QLatin1Char('/')) && path.startsWith(QLatin1Char('/'));
    return service + (isDouble ? path.mid(1) : path);
}

QString findUrlFile(const SetUp& setUp, Server server) {
    const QString name = urlFileName(server);
    for (const QString& folder : setUp.supportFolders) {
        const QFileInfo info(QDir(folder), name);
        if (info.isFile())
            return info.absoluteFilePath();
    }
    return {};
}

} // namespace Vqws
