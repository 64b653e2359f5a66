#include "VqUtil/Files/FileAccess.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
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
    const QString name = QFileInfo(existing).owner();
    return Failure{
        QStringLiteral("%1 belongs to another user, %2").arg(existing, name.isEmpty() ? QString::number(info.st_uid) : name)};
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
    if ((info.st_mode & 077) == 0 || ::chmod(path.constData(), 0700) == 0)
        return {};
    return Failure{lastError()};
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
