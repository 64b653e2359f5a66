#include "Runtime/PluginPaths.h"

#include "VqLog/LoggerWrapper.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QStringList>

namespace Velquor::WebServices::Internal::PluginPaths {

namespace {

void prepend(const QString& folder) {
    const QString path = Util::searchPath();
    if (path.isEmpty()) {
        Log::rootLogger().error(QStringLiteral("Failed to get the value of Windows system variable PATH"));
        return;
    }
    if (Util::isFirstInSearchPath(folder, path))
        return;
    Log::rootLogger().information(QStringLiteral("Prepending path %1 to the PATH environment variable").arg(folder));
    if (!Util::prependToSearchPath(folder, path))
        Log::rootLogger().error(QStringLiteral("The PATH environment variable could not be changed"));
}

} // namespace

void setDefaults() {
    const QString libraryFolder = QFileInfo(Util::ownModulePath()).absolutePath();
    QStringList folders{QFileInfo(Util::hostExecutablePath()).absolutePath() + QStringLiteral("/plugins"),
                        libraryFolder + QStringLiteral("/plugins")};
    folders.removeDuplicates();
    Log::rootLogger().information(
        QStringLiteral("Setting following default search paths for plugins:\n%1").arg(folders.join(QLatin1Char('\n'))));
    for (const QString& folder : folders)
        QCoreApplication::addLibraryPath(folder);
    prepend(libraryFolder);
}

void add(const QString& folder) {
    Log::rootLogger().information(QStringLiteral("Adding search path for plugins: %1").arg(folder));
    QCoreApplication::addLibraryPath(folder);
}

} // namespace Velquor::WebServices::Internal::PluginPaths
