#include "VqUtil/Files/FileAccess.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QUuid>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Velquor::Util {

namespace {

QString lastError() {
    return qt_error_string(errno);
}

bool writeWhole(int descriptor, const QByteArray& data, Flush flush) {
    qint64 written = 0;
    while (written < data.size()) {
        const ssize_t count = ::write(descriptor, data.constData() + written, static_cast<size_t>(data.size() - written));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        written += count;
    }
    return flush == Flush::No || ::fsync(descriptor) == 0;
}

// With its parents, each of them the user's alone whatever mask the process has: who may write to a parent can move ours away.
bool makeFolder(const QString& folder) {
    const QByteArray path = QFile::encodeName(folder);
    if (::mkdir(path.constData(), 0700) == 0 || errno == EEXIST)
        return true;
    const QString above = QFileInfo(folder).path();
    return errno == ENOENT && above != folder && makeFolder(above) && (::mkdir(path.constData(), 0700) == 0 || errno == EEXIST);
}

bool isOwnOrSystems(const struct stat& info) {
    return info.st_uid == ::geteuid() || info.st_uid == 0;
}

Failure ofAnotherUser(const QString& path, uid_t owner) {
    const QString name = QFileInfo(path).owner();
    return Failure{QStringLiteral("%1 belongs to another user, %2").arg(path, name.isEmpty() ? QString::number(owner) : name)};
}

// Of a link both count: its owner says where it leads. `info` is that of what it leads to, if anything.
Result<void> checkOwnOrSystems(const QString& path, struct stat& info) {
    for (const auto look : {&::lstat, &::stat}) {
        if (look(QFile::encodeName(path).constData(), &info) != 0)
            break;
        if (!isOwnOrSystems(info))
            return ofAnotherUser(path, info.st_uid);
    }
    return {};
}

// The folder was open to others until now. What they left there has names that the library needs, and no use.
void setAsideOthers(const QString& folder) {
    const QString suffix = QStringLiteral(".other-user-") + QUuid::createUuid().toString(QUuid::Id128);
    QDirIterator entries(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    while (entries.hasNext()) {
        const QByteArray name = QFile::encodeName(entries.next());
        struct stat info {};
        if (::lstat(name.constData(), &info) == 0 && !isOwnOrSystems(info))
            ::rename(name.constData(), (name + QFile::encodeName(suffix)).constData());
    }
}

bool createFile(const QString& path, Others others) {
    const FileDescriptor made(::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                     others == Others::None ? 0600 : 0666));
    return made.isValid();
}

// A lock file that others could read, as the log library makes it, may be held by one of them for ever. It is empty.
Result<void> checkExistingFile(const QString& path, Others others) {
    struct stat info {};
    Result<void> owner = checkOwnOrSystems(path, info);
    const bool isOpenToOthers = S_ISREG(info.st_mode) && info.st_uid == ::geteuid() && (info.st_mode & 077) != 0;
    if (owner && others == Others::None && isOpenToOthers && ::unlink(QFile::encodeName(path).constData()) == 0)
        (void)createFile(path, others);
    return owner;
}

} // namespace

Result<void> checkOwner(const QString& path) {
    struct stat info {};
    QString existing = QDir::cleanPath(path);
    while (::stat(QFile::encodeName(existing).constData(), &info) != 0) {
        const QString above = QFileInfo(existing).path();
        if (errno != ENOENT || above == existing)
            return {};
        existing = above;
    }
    const bool isSystemFolder = info.st_uid == 0 && existing != QDir::cleanPath(path);
    if (info.st_uid == ::geteuid() || isSystemFolder)
        return {};
    return ofAnotherUser(existing, info.st_uid);
}

Result<void> checkWay(const QString& folder) {
    struct stat info {};
    QString place = QDir::cleanPath(folder);
    if (Result<void> owner = checkOwnOrSystems(place, info); !owner)
        return owner;
    for (QString below; below != place; place = QFileInfo(place).path()) {
        const bool isThere = ::stat(QFile::encodeName(place).constData(), &info) == 0;
        if (isThere && (info.st_mode & S_IWOTH) != 0 && (info.st_mode & S_ISVTX) == 0)
            return Failure{QStringLiteral("Every user may replace what is in %1").arg(place)};
        below = place;
    }
    return {};
}

bool isOwnOrSystemFile(const QString& path) {
    struct stat info {};
    return checkOwnOrSystems(path, info) && S_ISREG(info.st_mode);
}

Result<void> claimFile(const QString& path, Others others) {
    if (Result<void> folder = checkWay(QFileInfo(path).path()); !folder)
        return folder;
    // Where it cannot be created, the library that opens it fails likewise.
    return createFile(path, others) || errno != EEXIST ? Result<void>() : checkExistingFile(path, others);
}

void closeToOtherWriters(const QString& folder) {
    const QByteArray path = QFile::encodeName(folder);
    struct stat info {};
    const bool isOwn = ::lstat(path.constData(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid();
    if (isOwn && (info.st_mode & 022) != 0 && (info.st_mode & S_ISVTX) == 0)
        ::chmod(path.constData(), info.st_mode & 07755);
}

Result<void> ensureOwnerOnlyFolder(const QString& folder) {
    if (Result<void> owner = checkOwner(folder); !owner)
        return owner;
    const QByteArray path = QFile::encodeName(folder);
    struct stat info {};
    const auto read = [&] { return ::stat(path.constData(), &info) == 0; };
    if (!read() && !(makeFolder(folder) && read()))
        return Failure{lastError()};
    if (!S_ISDIR(info.st_mode))
        return Failure{qt_error_string(ENOTDIR)};
    if ((info.st_mode & 077) == 0)
        return {};
    if (::chmod(path.constData(), 0700) != 0)
        return Failure{lastError()};
    if ((info.st_mode & 022) != 0)
        setAsideOthers(folder);
    return {};
}

bool claimFolder(const QString& folder) {
    const QByteArray path = QFile::encodeName(folder);
    struct stat info {};
    const auto read = [&] { return ::lstat(path.constData(), &info) == 0; };
    if (!read() && (errno != ENOENT || !ensureOwnerOnlyFolder(folder) || !read()))
        return false;
    const bool isShared = (info.st_mode & 022) != 0;
    return S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() && !isShared && bool(ensureOwnerOnlyFolder(folder));
}

Result<void> openForReading(QFile& file, const QString& path) {
    file.setFileName(path);
    return file.open(QIODevice::ReadOnly) ? Result<void>() : Failure{file.errorString()};
}

Result<void> writeOwnerOnlyFile(const QString& path, const QByteArray& data, Flush flush) {
    const QByteArray name = QFile::encodeName(path);
    const FileDescriptor file(::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.isValid())
        return Failure{lastError()};
    if (writeWhole(file.get(), data, flush))
        return {};
    Failure failure{lastError()};
    ::unlink(name.constData());
    return failure;
}

FileStamp fileStamp(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return {info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec, info.st_size, info.st_ino};
}

Replacement replaceFile(const QString& from, const QString& to, Flush flush) {
    const QByteArray target = QFile::encodeName(to);
    if (::rename(QFile::encodeName(from).constData(), target.constData()) != 0)
        return {Replacement::Status::Failed, lastError()};
    if (flush == Flush::No)
        return {Replacement::Status::Done, {}};
    // The move is done and visible; flushing the folder makes it survive a power cut. Some file systems refuse that flush.
    const FileDescriptor folder(::open(QFile::encodeName(QFileInfo(to).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isValid())
        ::fsync(folder.get());
    return {Replacement::Status::Done, {}};
}

} // namespace Velquor::Util
