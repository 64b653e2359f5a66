#include "TestKit/Platform/SystemFacts.h"

#include "VqUtil/Crypto/UserRsaCryptor.h"

#include <QFile>
#include <QTemporaryDir>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Velquor::TestKit {

bool isOwnerOnly(const QString& path) {
    struct stat info {};
    return ::stat(QFile::encodeName(path).constData(), &info) == 0 && info.st_uid == ::geteuid() && (info.st_mode & 077) == 0;
}

bool openFilesCanBeReplaced() {
    return true;
}

bool guardsAreFiles() {
    return true;
}

bool userKeysAreFiles() {
    return true;
}

void forgetUserKey() {}

std::shared_ptr<Util::IRsaCryptor> openAnotherUserKey(const std::shared_ptr<Log::ILogger>& logger) {
    const QTemporaryDir folder;
    return Util::openUserRsaCryptor(folder.path(), logger);
}

bool timesOfProcessesCount() {
    return true;
}

qint64 peakMemoryBytes() {
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return qint64(usage.ru_maxrss) * 1024;
}

} // namespace Velquor::TestKit
