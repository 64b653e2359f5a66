#include "Runtime/RuntimePaths.h"

#include "Values/LibrarySettings.h"
#include "VqUtil/Platform/KnownFolders.h"

#include <QDir>

namespace Velquor::WebServices::Internal::RuntimePaths {

bool isSSOEnabledForAllUsers() {
    static const bool enabled =
        librarySetting(QStringLiteral("EnableSSOForAllUsers")).compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0;
    return enabled;
}

QString dataPath(bool forAllUsers) {
    const QString folder = forAllUsers ? Util::programDataFolder() : Util::localAppDataFolder();
    return folder.isEmpty() ? QString() : QDir::cleanPath(folder + QLatin1Char('/') + QStringLiteral("Velquor/Web Services"));
}

QString dataPath() {
    return dataPath(isSSOEnabledForAllUsers());
}

QString userKeyFolder() {
    return dataPath(false);
}

QString loginStateFile() {
    return dataPath() + QLatin1Char('/') + QStringLiteral("LoginState.xml");
}

QString loginStateCacheFolder(const QString& productId, bool local) {
    return QStringLiteral("%1/LoginStateCache/%2%3").arg(dataPath(), productId, local ? QStringLiteral("-Local") : QString());
}

} // namespace Velquor::WebServices::Internal::RuntimePaths
