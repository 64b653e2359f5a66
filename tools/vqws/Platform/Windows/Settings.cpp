#include "Platform/Settings.h"

#include <QSettings>

namespace Vqws {

QString setting(const QString& name) {
    QSettings settings(QStringLiteral("Velquor"), QStringLiteral("Web Services"));
    settings.setFallbacksEnabled(false);
    return settings.value(name).toString();
}

QString settingsFile() {
    return {};
}

QString ignoredSettingsFile() {
    return {};
}

} // namespace Vqws
