#include "Network/Urls/SupportFiles.h"

#include "VqUtil/Platform/HostProcess.h"

#include <QDir>
#include <QFileInfo>
#include <QMutex>
#include <QMutexLocker>

namespace Velquor::WebServices::Internal::SupportFiles {

namespace {

struct SearchPaths {
    QMutex mutex;
    QStringList folders;
};

SearchPaths& searchPaths() {
    // Never destroyed: threads and static objects of the host may call it while the process ends.
    static auto* const paths = new SearchPaths;
    return *paths;
}

} // namespace

void setSearchPaths(const QString& text) {
    QStringList folders;
    for (const QString& part : text.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const QString folder = part.trimmed();
        if (!folder.isEmpty() && !folders.contains(QDir::cleanPath(QDir::fromNativeSeparators(folder)), Qt::CaseInsensitive))
            folders += QDir::cleanPath(QDir::fromNativeSeparators(folder));
    }
    const QMutexLocker lock(&searchPaths().mutex);
    searchPaths().folders = folders;
}

QString searchPathsText() {
    const QMutexLocker lock(&searchPaths().mutex);
    return searchPaths().folders.join(QLatin1Char(';'));
}

QStringList folders() {
    QStringList all{QFileInfo(Util::ownModulePath()).absolutePath()};
    const QMutexLocker lock(&searchPaths().mutex);
    return all + searchPaths().folders;
}

QString find(const QString& fileName) {
    const QStringList candidates = folders();
    for (const QString& folder : candidates) {
        const QFileInfo file(QDir(folder), fileName);
        if (file.isFile())
            return file.absoluteFilePath();
    }
    return {};
}

} // namespace Velquor::WebServices::Internal::SupportFiles
