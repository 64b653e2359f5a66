#include "VqUtil/Platform/HostProcess.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <dlfcn.h>
#include <link.h>
#include <sys/utsname.h>

namespace Velquor::Util {

namespace {

struct ModuleSearch {
    QByteArray fileName;
    QByteArray path;
};

int compareModule(struct dl_phdr_info* info, size_t, void* data) {
    auto* const search = static_cast<ModuleSearch*>(data);
    const QByteArray path(info->dlpi_name);
    if (path.mid(path.lastIndexOf('/') + 1) != search->fileName)
        return 0;
    search->path = path;
    return 1;
}

} // namespace

QString hostExecutablePath() {
    return QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
}

QString modulePathOf(const void* address) {
    Dl_info info{};
    if (::dladdr(address, &info) == 0 || !info.dli_fname)
        return {};
    return QFileInfo(QFile::decodeName(info.dli_fname)).absoluteFilePath();
}

QString ownModulePath() {
    return modulePathOf(reinterpret_cast<const void*>(&ownModulePath));
}

QString fileVersion(const QString&) {
    return {};
}

QString loadedModulePath(const QString& fileName) {
    ModuleSearch search{QFile::encodeName(fileName), {}};
    ::dl_iterate_phdr(&compareModule, &search);
    return QFile::decodeName(search.path);
}

QString searchPath() {
    return QFile::decodeName(qgetenv("PATH"));
}

bool isFirstInSearchPath(const QString& folder, const QString& path) {
    return path == folder || path.startsWith(folder + QLatin1Char(':'));
}

bool prependToSearchPath(const QString& folder, const QString& path) {
    return qputenv("PATH", QFile::encodeName(folder + QLatin1Char(':') + path));
}

QString systemVersion() {
    struct utsname name {};
    if (::uname(&name) != 0)
        return QStringLiteral("0.0.0");
    return QString::fromLatin1(name.release).section(QLatin1Char('-'), 0, 0);
}

QString systemName() {
    return QStringLiteral("%1, kernel %2").arg(QSysInfo::prettyProductName(), systemVersion());
}

} // namespace Velquor::Util
