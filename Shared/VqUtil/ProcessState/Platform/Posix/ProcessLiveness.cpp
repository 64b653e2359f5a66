#include "VqUtil/ProcessState/ProcessLiveness.h"

#include <QDir>
#include <QFile>
#include <climits>
#include <unistd.h>

namespace Velquor::Util {

namespace {

// The kernel appends this to the path of an executable that was replaced while it runs, as an update does.
const QByteArray& deletedSuffix() {
    static const QByteArray suffix(" (deleted)");
    return suffix;
}

// Empty for a zombie too: the kernel has freed its memory, and the link to the executable with it.
QString executableOf(const char* link) {
    char buffer[PATH_MAX];
    const ssize_t length = ::readlink(link, buffer, sizeof buffer);
    if (length <= 0)
        return {};
    QByteArray path(buffer, static_cast<int>(length));
    if (path.endsWith(deletedSuffix()))
        path.chop(deletedSuffix().size());
    return QFile::decodeName(path);
}

bool isSamePath(const QString& one, const QString& other) {
    return one == other || QDir::cleanPath(one).compare(QDir::cleanPath(other), Qt::CaseInsensitive) == 0;
}

} // namespace

bool isProcessAlive(qint64 processId, const QString& executablePath) {
    if (processId <= 0 || processId > INT_MAX)
        return false;
    const QByteArray link = "/proc/" + QByteArray::number(processId) + "/exe";
    const QString path = executableOf(link.constData());
    return !path.isEmpty() && (executablePath.isEmpty() || isSamePath(path, executablePath));
}

QString ownExecutablePath() {
    return executableOf("/proc/self/exe");
}

} // namespace Velquor::Util
