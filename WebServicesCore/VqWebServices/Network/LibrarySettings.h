#pragma once

#include <QSettings>
#include <QString>

namespace Velquor::WebServices {

/// A value of the library's settings: the registry key "HKEY_CURRENT_USER\Software\Velquor\Web Services" on Windows, the settings
/// file of organisation "Velquor", application "Web Services" elsewhere. Empty when it is not set. Thread: any.
[[nodiscard]] inline QString librarySetting(const QString& name) {
    return QSettings(QStringLiteral("Velquor"), QStringLiteral("Web Services")).value(name).toString();
}

} // namespace Velquor::WebServices
