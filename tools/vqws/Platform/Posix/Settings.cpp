#include "Platform/Settings.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <sys/stat.h>
#include <unistd.h>

namespace Vqws {

namespace {

// Of a link both count. To open a pipe would wait for its writer.
bool isRead(const QString& file) {
    struct stat info {};
    for (const auto look : {&::lstat, &::stat}) {
        if (look(QFile::encodeName(file).constData(), &info) != 0 || (info.st_uid != ::geteuid() && info.st_uid != 0))
            return false;
    }
    return S_ISREG(info.st_mode);
}

} // namespace

QString settingsFile() {
    const QString chosen = qEnvironmentVariable("XDG_CONFIG_HOME");
    const QString folder = QDir(QDir::homePath()).absoluteFilePath(chosen.isEmpty() ? QStringLiteral(".config") : chosen);
    return folder + QStringLiteral("/Velquor/Web Services.conf");
}

QString setting(const QString& name) {
    const QString file = settingsFile();
    return isRead(file) ? QSettings(file, QSettings::NativeFormat).value(name).toString() : QString();
}

QString ignoredSettingsFile() {
    const QString file = settingsFile();
    return QFile::exists(file) && !isRead(file) ? file : QString();
}

} // namespace Vqws
