#include "Values/LibrarySettings.h"

#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Platform/KnownFolders.h"

#include <QFileInfo>
#include <QSettings>
#include <atomic>

namespace Velquor::WebServices::Internal {

namespace {

void warnOnce(const QString& file) {
    static std::atomic_flag isTold = ATOMIC_FLAG_INIT;
    if (!isTold.test_and_set())
        Log::rootLogger().warning(
            QStringLiteral("Ignoring the settings in %1. It belongs to another user, or is no regular file.").arg(file));
}

} // namespace

QString librarySetting(const QString& name) {
    const QString organization = QStringLiteral("Velquor");
    const QString application = QStringLiteral("Web Services");
    const QString folder = Util::settingsFolder();
    if (folder.isEmpty()) {
        QSettings settings(organization, application);
        // Otherwise Qt falls back to settings of the whole organization or the machine, which are not this user's.
        settings.setFallbacksEnabled(false);
        return settings.value(name).toString();
    }
    // By its path: by its name Qt would also open the files that it falls back to, which may be another user's.
    const QString file = QStringLiteral("%1/%2/%3.conf").arg(folder, organization, application);
    if (Util::isOwnOrSystemFile(file))
        return QSettings(file, QSettings::NativeFormat).value(name).toString();
    if (QFileInfo::exists(file))
        warnOnce(file);
    return {};
}

} // namespace Velquor::WebServices::Internal
