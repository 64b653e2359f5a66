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

// Only root has a right to it from the beginning.
WithoutFolderOfAllUsers::WithoutFolderOfAllUsers(const QString& folder)
    : m_folder(folder) {
    constexpr uid_t nobody = 65534;
    if (::geteuid() == 0 && ::seteuid(nobody) != 0)
        qFatal("The test cannot be another user");
}

WithoutFolderOfAllUsers::~WithoutFolderOfAllUsers() {
    if (::seteuid(::getuid()) != 0)
        qFatal("The test cannot be its own user again");
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
