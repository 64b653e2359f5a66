#include "VqUtil/Platform/SystemProxySettings.h"

#include <QUrl>

namespace Velquor::Util {

namespace {

QString withoutCredentials(const QString& text) {
    const QUrl url(text.contains(QLatin1String("://")) ? text : QStringLiteral("http://") + text);
    return url.isValid() && !url.host().isEmpty()
               ? url.toString(QUrl::RemoveUserInfo | QUrl::RemovePath | QUrl::RemoveQuery | QUrl::RemoveFragment)
               : QStringLiteral("(not a URL)");
}

QString variable(const char* lowerCaseName) {
    const QString value = qEnvironmentVariable(lowerCaseName);
    return value.isEmpty() ? qEnvironmentVariable(QByteArray(lowerCaseName).toUpper().constData()) : value;
}

} // namespace

QStringList systemProxySettings() {
    QStringList servers;
    for (const char* const name : {"http_proxy", "https_proxy", "all_proxy"}) {
        const QString value = variable(name);
        if (!value.isEmpty())
            servers += QStringLiteral("%1=%2").arg(QLatin1String(name), withoutCredentials(value));
    }
    const QString bypass = variable("no_proxy");
    return {
        QStringLiteral("Connection Flags: %1").arg(QLatin1String(servers.isEmpty() ? "PROXY_TYPE_DIRECT" : "PROXY_TYPE_PROXY")),
        QStringLiteral("Proxy Server: %1").arg(servers.join(QStringLiteral("; "))),
        QStringLiteral("Proxy Bypass: %1").arg(bypass)};
}

} // namespace Velquor::Util
