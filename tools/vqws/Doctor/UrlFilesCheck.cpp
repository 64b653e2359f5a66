#include "Doctor/Checks.h"
#include "Texts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

const auto name = QStringLiteral("URL files");

// The keys that sign-in, token refresh and sign-out need.
const QStringList& neededKeys() {
    static const QStringList keys{QStringLiteral("AccountServerUrl"),       QStringLiteral("RequestTokenEndPoint"),
                                  QStringLiteral("AuthorizationEndPoint"),  QStringLiteral("AccessTokenEndPoint"),
                                  QStringLiteral("LogoutEndPoint"),         QStringLiteral("InvalidateTokenEndPoint"),
                                  QStringLiteral("OAuth2AccountServerUrl"), QStringLiteral("OAuth2AccessTokenEndPoint")};
    return keys;
}

QString fileName(Server server) {
    if (server == Production)
        return QStringLiteral("VqWebservicesURLs.config");
    const QString named =
        setting(server == Staging ? QStringLiteral("StagingServerConfigJsonFile") : QStringLiteral("DevServerConfigJsonFile"));
    return named.isEmpty() ? QStringLiteral("VqWebservicesURLs-%1.config").arg(serverText(server)) : named;
}

QString find(const SetUp& setUp, const QString& file) {
    for (const QString& folder : setUp.supportFolders) {
        const QFileInfo info(QDir(folder), file);
        if (info.isFile())
            return info.absoluteFilePath();
    }
    return {};
}

QString installAgain(const QString& path) {
    return QStringLiteral("install %1 again, or correct it").arg(path);
}

Finding checkAddresses(const QString& path, const QJsonObject& urls) {
    QStringList missing;
    for (const QString& key : neededKeys()) {
        if (urls.value(key).toString().isEmpty())
            missing += key;
    }
    if (!missing.isEmpty())
        return fault(name, QStringLiteral("%1 has no %2").arg(path, missing.join(QStringLiteral(", "))), installAgain(path));
    const QUrl account(urls.value(QLatin1String("AccountServerUrl")).toString());
    if (account.scheme() != QLatin1String("https") || account.host().isEmpty())
        return fault(name, QStringLiteral("the AccountServerUrl in %1 is no https address").arg(path), installAgain(path));
    if (account.host().endsWith(QLatin1String("example.com")))
        return fault(name, QStringLiteral("%1 has the addresses of the example").arg(path),
                     QStringLiteral("write the addresses of your servers into it"));
    return ok(name, path);
}

Finding checkFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fault(name, QStringLiteral("%1 cannot be read: %2").arg(path, file.errorString()),
                     QStringLiteral("give the user the right to read it"));
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &error);
    if (error.error != QJsonParseError::NoError)
        return fault(name, QStringLiteral("%1 is no JSON at byte %2: %3").arg(path).arg(error.offset).arg(error.errorString()),
                     installAgain(path));
    const QJsonObject urls = document.object()
                                 .value(QLatin1String("Configurations"))
                                 .toObject()
                                 .value(QLatin1String("WebServices"))
                                 .toObject()
                                 .value(QLatin1String("Urls"))
                                 .toObject();
    return checkAddresses(path, urls);
}

} // namespace

Findings checkUrlFiles(const SetUp& setUp, Server current) {
    Findings findings;
    for (const Server server : {Production, Staging, Development}) {
        const QString path = find(setUp, fileName(server));
        if (!path.isEmpty())
            findings += checkFile(path);
        else if (server == current)
            findings += fault(name,
                              QStringLiteral("%1 for the current server %2 was not found in %3")
                                  .arg(fileName(server), serverText(server), setUp.supportFolders.join(QStringLiteral(", "))),
                              QStringLiteral("install it there, or name its folder with --support"));
    }
    return findings;
}

} // namespace Vqws
