#include "Doctor/Checks.h"
#include "Platform/Settings.h"
#include "Platform/ShellCommands.h"
#include "Texts.h"
#include "UrlFile.h"

#include <QHostAddress>
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

Cure installAgain(const QString& path) {
    return act(QStringLiteral("whoever installed the product must install %1 again, or correct it").arg(path));
}

// The library's own rule: on this machine alone nobody can listen on the way.
bool isSafe(const QUrl& service) {
    const bool isLoopback = service.host() == QLatin1String("localhost") || QHostAddress(service.host()).isLoopback();
    return service.scheme() == QLatin1String("https") || isLoopback
           || setting(QStringLiteral("AllowPlainHttp")).compare(QLatin1String("True"), Qt::CaseInsensitive) == 0;
}

// What is wrong with the address of a service; empty when nothing is.
QString faultOfService(const QString& path, const QString& key, const QString& address) {
    if (!isWebAddress(address))
        return QStringLiteral("the %1 in %2 is no https address").arg(key, path);
    if (!isSafe(QUrl(address)))
        return QStringLiteral("the %1 in %2 is not https; everybody on the way could read the tokens, so it is not used")
            .arg(key, path);
    return {};
}

Finding checkServices(const QString& path, const QJsonObject& urls) {
    for (const char* const service : {"AccountServerUrl", "OAuth2AccountServerUrl", "StorageApiUrl"}) {
        const QString key = QString::fromLatin1(service);
        const QString address = urls.value(key).toString();
        const QString wrong = address.isEmpty() ? QString() : faultOfService(path, key, address);
        if (!wrong.isEmpty())
            return fault(name, wrong, installAgain(path));
    }
    return ok(name, path);
}

Finding checkAddresses(const QString& path, const QJsonObject& urls) {
    QStringList missing;
    for (const QString& key : neededKeys()) {
        if (urls.value(key).toString().isEmpty())
            missing += key;
    }
    if (!missing.isEmpty())
        return fault(name, QStringLiteral("%1 has no %2").arg(path, missing.join(QStringLiteral(", "))), installAgain(path));
    if (QUrl(urls.value(QLatin1String("AccountServerUrl")).toString()).host().endsWith(QLatin1String("example.com")))
        return fault(name, QStringLiteral("%1 has the addresses of the example").arg(path),
                     act(QStringLiteral("whoever installed the product must write the addresses of its servers into it")));
    return checkServices(path, urls);
}

Finding checkFile(const QString& path) {
    const UrlFile file = readUrlFile(path);
    if (!file.isReadable)
        return fault(name, file.error, run(ShellCommands::makeReadable(path)));
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
            findings +=
                fault(name,
                      QStringLiteral("%1 for the current server %2 was not found in %3")
                          .arg(urlFileName(server), serverText(server), setUp.supportFolders.join(QStringLiteral(", "))),
                      act(QStringLiteral("whoever installed the product must install it there, or you name its folder with "
                                         "--support")));
    }
    return findings;
}

} // namespace Vqws
