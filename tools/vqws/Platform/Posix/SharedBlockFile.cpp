#include "Platform/SharedBlockFile.h"

#include "Platform/FilePrivacy.h"

#include <QFileInfo>

namespace Vqws {

QString sharedBlockFile(const QString& dataFolder) {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const bool isUsable =
        runtime.startsWith(QLatin1Char('/')) && QFileInfo(runtime).isDir() && othersWithAccess(runtime).isEmpty();
    return (isUsable ? runtime : dataFolder) + QStringLiteral("/Velquor.WebServices.ProcessState");
}

QString userKeyFile(const QString& dataFolder) {
    return dataFolder + QStringLiteral("/UserKey.pem");
}

QString ignoredDataFolder() {
    const QString folder = qEnvironmentVariable("XDG_DATA_HOME");
    return folder.startsWith(QLatin1Char('/')) ? QString() : folder;
}

} // namespace Vqws
