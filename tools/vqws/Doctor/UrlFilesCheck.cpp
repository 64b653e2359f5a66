#include "Doctor/Checks.h"
#include "Texts.h"
#include "UrlFile.h"

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
    const UrlFile file = readUrlFile(path);
    if (!file.isReadable)
        return fault(name, file.error, QStringLiteral("give the user the right to read it"));
    return file.error.isEmpty() ? checkAddresses(path, file.urls) : fault(name, file.error, installAgain(path));
}

} // namespace

Findings checkUrlFiles(const SetUp& setUp, Server current) {
    Findings findings;
    for (const Server server : {Production, Staging, Development}) {
        const QString path = findUrlFile(setUp, server);
        if (!path.isEmpty())
            findings += checkFile(path);
        else if (server == current)
            findings += fault(name,
                              QStringLiteral("%1 for the current server %2 was not found in %3")
                                  .arg(urlFileName(server), serverText(server), setUp.supportFolders.join(QStringLiteral(", "))),
                              QStringLiteral("install it there, or name its folder with --support"));
    }
    return findings;
}

} // namespace Vqws
