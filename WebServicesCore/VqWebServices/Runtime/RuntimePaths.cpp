#include "Runtime/RuntimePaths.h"

#include "Values/LibrarySettings.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Platform/KnownFolders.h"

#include <QDir>

namespace Velquor::WebServices::Internal::RuntimePaths {

namespace {

// Files in it are the user's alone, so a folder of another user, or one that is shared, would be of no use.
bool isFolderOfAllUsersUsable() {
    const QString folder = dataPath(true);
    const bool isUsable = Util::claimFolder(folder);
    if (!isUsable)
        Log::rootLogger().error(
            QStringLiteral(
                "Ignoring the setting EnableSSOForAllUsers. The folder %1 belongs to another user, or is shared with others. It can be used by one user of the machine only. Using the data folder of this user.")
                .arg(folder));
    return isUsable;
}

} // namespace

bool isSSOEnabledForAllUsers() {
    static const bool enabled =
        librarySetting(QStringLiteral("EnableSSOForAllUsers")).compare(QStringLiteral("True"), Qt::CaseInsensitive) == 0
        && isFolderOfAllUsersUsable();
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
