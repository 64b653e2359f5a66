#include "VqUtil/Platform/KnownFolders.h"

#include <QStandardPaths>

namespace Velquor::Util {

QString localAppDataFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

QString programDataFolder() {
    return QStringLiteral("/var/lib");
}

} // namespace Velquor::Util
