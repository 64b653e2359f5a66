#include "VqUtil/Platform/KnownFolders.h"

#include <QDir>
#include <QStandardPaths>

namespace Velquor::Util {

QString localAppDataFolder() {
    // By the standard of the variable a path that is not absolute is ignored. The framework takes it, below any current folder.
    const QString chosen = qEnvironmentVariable("XDG_DATA_HOME");
    return chosen.isEmpty() || QDir::isAbsolutePath(chosen)
               ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
               : QDir::homePath() + QStringLiteral("/.local/share");
}

QString programDataFolder() {
    return QStringLiteral("/var/lib");
}

// As the framework finds it, also when the path is relative.
QString settingsFolder() {
    const QString chosen = qEnvironmentVariable("XDG_CONFIG_HOME");
    return QDir(QDir::homePath()).absoluteFilePath(chosen.isEmpty() ? QStringLiteral(".config") : chosen);
}

} // namespace Velquor::Util
