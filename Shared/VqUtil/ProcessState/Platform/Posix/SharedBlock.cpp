#include "VqUtil/ProcessState/SharedBlock.h"

#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QFile>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace Velquor::Util {

namespace {

constexpr int maximumAttempts = 50;
constexpr off_t largestSize = off_t{16} * 1024 * 1024;
// Some systems remove old files from the runtime folder, but not those with the sticky bit.
constexpr mode_t fileMode = 0600 | S_ISVTX;

bool isOwnerOnly(const struct stat& info) {
    return info.st_uid == ::geteuid() && (info.st_mode & 077) == 0;
}

/// Each attached process holds a shared `flock` on the file. If an exclusive lock succeeds, no process is attached, however the
/// last one ended. The file then counts as missing, as a shared memory segment without users would.
class FileBlock final : public ISharedBlock {
public:
    explicit FileBlock(const QString& path)
        : m_path(QFile::encodeName(path)) {}
    ~FileBlock() override;

    [[nodiscard]] Result attach() override;
    [[nodiscard]] Result create(int size) override;
    [[nodiscard]] bool isAttached() override;
    [[nodiscard]] int size() const override { return m_size; }
    [[nodiscard]] bool startsWith(const QByteArray& bytes) override;
    [[nodiscard]] QByteArray read() override;
    [[nodiscard]] bool write(const QByteArray& bytes) override;
    [[nodiscard]] QString errorText() const override { return m_errorText; }

private:
    [[nodiscard]] bool open(int flags);
    [[nodiscard]] bool lock(int kind) const { return ::flock(m_file.get(), kind | LOCK_NB) == 0; }
    [[nodiscard]] bool isNamed() const;
    [[nodiscard]] bool fill(int size);
    [[nodiscard]] int readInto(char* buffer, int count) const;
    Result fail(int code);

    const QByteArray m_path;
    FileDescriptor m_file;
    struct stat m_info {};
    int m_size = 0;
    QByteArray m_buffer;
    QString m_errorText;
};

// Under the exclusive lock no other process is attached, and none can attach. A file with our name but another number is a new
// block of other processes.
FileBlock::~FileBlock() {
    if (isAttached() && lock(LOCK_EX) && isNamed())
        ::unlink(m_path.constData());
}

// Without a runtime folder, `folder` may be writable for other users. A file that is not owner-only is not used, and not waited
// for: the owner of a file can delay whoever opens it.
bool FileBlock::open(int flags) {
    m_file.reset(::open(m_path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | flags, 0600));
    if (!m_file.isValid() || ::fstat(m_file.get(), &m_info) != 0)
        return false;
    if (S_ISREG(m_info.st_mode) && isOwnerOnly(m_info))
        return true;
    errno = EACCES;
    return false;
}

ISharedBlock::Result FileBlock::fail(int code) {
    m_errorText = qt_error_string(code);
    m_file.reset();
    return Result::Failed;
}

ISharedBlock::Result FileBlock::attach() {
    for (int attempt = 0; attempt < maximumAttempts; ++attempt) {
        if (!open(0))
            return errno == ENOENT ? Result::Missing : fail(errno);
        if (lock(LOCK_EX)) {
            m_file.reset();
            return Result::Missing;
        }
        if (lock(LOCK_SH) && isNamed() && ::fstat(m_file.get(), &m_info) == 0) {
            m_size = static_cast<int>(std::min(m_info.st_size, largestSize));
            return Result::Done;
        }
        QThread::msleep(1); // another process is creating or removing the file
    }
    return fail(EBUSY);
}

ISharedBlock::Result FileBlock::create(int size) {
    for (int attempt = 0; attempt < maximumAttempts; ++attempt) {
        if (!open(O_CREAT))
            return fail(errno);
        if (!lock(LOCK_EX)) {
            m_file.reset();
            return Result::AlreadyThere;
        }
        // The last user may have removed the file between our `open` and our lock. Then create another one.
        if (!isNamed())
            continue;
        if (!fill(size))
            return fail(errno);
        m_size = size;
        return Result::Done;
    }
    return fail(EBUSY);
}

// Reserves every byte now, so that no later write fails on a full disk.
bool FileBlock::fill(int size) {
    if (::fchmod(m_file.get(), fileMode) != 0 || ::ftruncate(m_file.get(), 0) != 0)
        return false;
    const int fault = ::posix_fallocate(m_file.get(), 0, size);
    if (fault == 0 && ::flock(m_file.get(), LOCK_SH) == 0)
        return true;
    if (fault != 0)
        errno = fault;
    return false;
}

bool FileBlock::isNamed() const {
    struct stat named {};
    return ::stat(m_path.constData(), &named) == 0 && named.st_ino == m_info.st_ino && named.st_dev == m_info.st_dev;
}

bool FileBlock::isAttached() {
    if (m_file.isValid() && !isNamed())
        m_file.reset();
    return m_file.isValid();
}

// Not by a mapping: if another program truncates a mapped file, reading it ends the host with a signal. `pread` returns fewer
// bytes.
int FileBlock::readInto(char* buffer, int count) const {
    int done = 0;
    while (done < count) {
        const ssize_t part = ::pread(m_file.get(), buffer + done, static_cast<size_t>(count - done), done);
        if (part == 0 || (part < 0 && errno != EINTR))
            break;
        done += static_cast<int>(std::max<ssize_t>(part, 0));
    }
    return done;
}

bool FileBlock::startsWith(const QByteArray& bytes) {
    if (m_buffer.size() < bytes.size())
        m_buffer.resize(bytes.size());
    return readInto(m_buffer.data(), bytes.size()) == bytes.size()
           && std::memcmp(m_buffer.constData(), bytes.constData(), static_cast<size_t>(bytes.size())) == 0;
}

QByteArray FileBlock::read() {
    QByteArray bytes(m_size, Qt::Uninitialized);
    bytes.truncate(readInto(bytes.data(), m_size));
    return bytes;
}

bool FileBlock::write(const QByteArray& bytes) {
    int done = 0;
    while (done < bytes.size()) {
        const ssize_t part = ::pwrite(m_file.get(), bytes.constData() + done, static_cast<size_t>(bytes.size() - done), done);
        if (part < 0 && errno == EINTR)
            continue;
        if (part <= 0) {
            m_errorText = qt_error_string(errno);
            return false;
        }
        done += static_cast<int>(part);
    }
    return true;
}

} // namespace

std::unique_ptr<ISharedBlock> openSharedBlock(const QString& key, const QString& folder) {
    return std::make_unique<FileBlock>(folder + QLatin1Char('/') + key);
}

QString sharedBlockFolder(const QString& dataFolder) {
    const QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    struct stat info {};
    // Another user who can replace it, or a link to it, leads each process elsewhere.
    const bool isUsable = runtime.startsWith('/') && ::stat(runtime.constData(), &info) == 0 && S_ISDIR(info.st_mode)
                          && isOwnerOnly(info) && checkWay(QFile::decodeName(runtime));
    return isUsable ? QFile::decodeName(runtime) : dataFolder;
}

} // namespace Velquor::Util
