#include "Platform/FilePrivacy.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <sys/stat.h>
#include <unistd.h>

namespace Vqws {

QString othersWithAccess(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    QStringList others;
    if ((info.st_mode & S_IRWXG) != 0)
        others += QStringLiteral("the group %1").arg(QFileInfo(path).group());
    if ((info.st_mode & S_IRWXO) != 0)
        others += QStringLiteral("everybody");
    return others.join(QStringLiteral(" and "));
}

QString otherOwner(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || info.st_uid == ::geteuid())
        return {};
    const QString name = QFileInfo(path).owner();
    return name.isEmpty() ? QString::number(info.st_uid) : name;
}

bool isRoot() {
    return ::geteuid() == 0;
}

bool isWriteProtected(const QString&) {
    return false;
}

} // namespace Vqws
