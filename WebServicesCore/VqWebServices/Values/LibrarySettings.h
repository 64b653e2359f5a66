#pragma once

#include <QSettings>
#include <QString>

namespace Velquor::WebServices::Internal {

/// A value of the library's settings: the registry key "HKEY_CURRENT_USER\Software\Velquor\Web Services" on Windows, the settings
/// file of organisation "Velquor", application "Web Services" elsewhere. Empty when it is not set. Thread: any.
[[nodiscard]] inline QString librarySetting(const QString& name) {
    QSettings settings(QStringLiteral("Velquor"), QStringLiteral("Web Services"));
    // Otherwise Qt falls back to settings of the whole organization or the machine, which are not this user's.
    settings.setFallbacksEnabled(false);
    return settings.value(name).toString();
}

} // namespace Velquor::WebServices::Internal
