#include "Platform/LockHolder.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Vqws {

namespace {

constexpr int processColumn = 4;
constexpr int fileColumn = 5;

// The columns of /proc/locks are: number, "FLOCK", kind, "WRITE", process, device and file, range.
QString fileText(const struct stat& info) {
    return QStringLiteral("%1:%2:%3")
        .arg(major(info.st_dev), 2, 16, QLatin1Char('0'))
        .arg(minor(info.st_dev), 2, 16, QLatin1Char('0'))
        .arg(info.st_ino);
}

QString programText(const QString& process) {
    const QString path = QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process));
    return QStringLiteral("%1 (process %2)")
        .arg(path.isEmpty() ? QStringLiteral("a program") : QFileInfo(path).fileName(), process);
}

} // namespace

LockHolder loginStateLockHolder(const QString& folder) {
    struct stat info {};
    const QString path = folder + QStringLiteral("/VqWebServicesLoginStateSemaphore.lock");
    QFile locks(QStringLiteral("/proc/locks"));
    if (::stat(QFile::encodeName(path).constData(), &info) != 0 || !locks.open(QIODevice::ReadOnly))
        return {};
    const QStringList lines = QString::fromLatin1(locks.readAll()).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        const QStringList columns = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        // A line of a waiting process has an extra column with an arrow, so it does not match.
        if (columns.size() > fileColumn && columns.at(fileColumn) == fileText(info))
            return {true, programText(columns.at(processColumn)), columns.at(processColumn)};
    }
    return {};
}

} // namespace Vqws
