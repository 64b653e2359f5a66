#include "Doctor/SetUp.h"

#include "Platform/LoadedModule.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <VqWebServices/IWebServicesManager.h>

namespace Vqws {

namespace {

QString localDataFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

} // namespace

SetUp readSetUp(const QString& supportFolders) {
    SetUp setUp;
    setUp.dataFolder = QDir::cleanPath(localDataFolder() + QStringLiteral("/Velquor/Web Services"));
    setUp.loginStateFile = setUp.dataFolder + QStringLiteral("/LoginState.xml");
    const QString library = modulePathOf(reinterpret_cast<const void*>(&GetIWebServicesManager));
    if (!library.isEmpty())
        setUp.supportFolders += QFileInfo(library).absolutePath();
    for (const QString& folder : supportFolders.split(QLatin1Char(';'), Qt::SkipEmptyParts))
        setUp.supportFolders += QDir::cleanPath(QDir::fromNativeSeparators(folder.trimmed()));
    return setUp;
}

QString setting(const QString& name) {
    return QSettings(QStringLiteral("Velquor"), QStringLiteral("Web Services")).value(name).toString();
}

} // namespace Vqws
