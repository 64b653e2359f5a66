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

bool fail(QString* error) {
    const int code = errno;
    if (error)
        *error = qt_error_string(code);
    return false;
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

} // namespace

bool ensureOwnerOnlyFolder(const QString& folder) {
    if (folder.isEmpty())
        return false;
    const QByteArray path = QFile::encodeName(folder);
    struct stat info {};
    if (::stat(path.constData(), &info) != 0) {
        if (!QDir().mkpath(QFileInfo(folder).path()) || (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST)
            || ::stat(path.constData(), &info) != 0)
            return false;
    }
    if (!S_ISDIR(info.st_mode))
        return false;
    return info.st_uid != ::geteuid() || (info.st_mode & 077) == 0 || ::chmod(path.constData(), 0700) == 0;
}

bool openForReading(QFile& file, const QString& path, QString* error) {
    file.setFileName(path);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    if (!isOpen && error)
        *error = file.errorString();
    return isOpen;
}

bool writeOwnerOnlyFile(const QString& path, const QByteArray& data, QString* error, Flush flush) {
    const QByteArray name = QFile::encodeName(path);
    const FileDescriptor file(::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!file.isValid())
        return fail(error);
    if (writeWhole(file.get(), data, flush))
        return true;
    fail(error);
    ::unlink(name.constData());
    return false;
}

FileStamp fileStamp(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return {info.st_mtim.tv_sec * 1000000000LL + info.st_mtim.tv_nsec, info.st_size, info.st_ino};
}

ReplaceResult replaceFile(const QString& from, const QString& to, QString* error, Flush flush) {
    const QByteArray target = QFile::encodeName(to);
    if (::rename(QFile::encodeName(from).constData(), target.constData()) != 0) {
        fail(error);
        return ReplaceResult::Failed;
    }
    if (flush == Flush::No)
        return ReplaceResult::Done;
    // The move is done and visible; flushing the folder makes it survive a power cut. Some file systems refuse that flush.
    const FileDescriptor folder(::open(QFile::encodeName(QFileInfo(to).path()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isValid())
        ::fsync(folder.get());
    return ReplaceResult::Done;
}

} // namespace Velquor::Util
