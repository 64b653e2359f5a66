#include "VqUtil/Locks/ProcessGuard.h"

#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace Velquor::Util {

namespace {

// Most holders are done within a millisecond, and several processes often wait for each other: all read what one of them wrote.
constexpr unsigned long shortPauseUs = 100;
constexpr unsigned long longPauseUs = 2000;
constexpr int shortPausesMs = 20;
// A turn takes less, unless its process was stopped. After this time a waiter no longer respects the turn.
constexpr int turnTimeoutMs = 250;

} // namespace

struct ProcessGuard::Native {
    QByteArray path;
    /// Stays open from one acquisition to the next. `flock` belongs to it, so two objects of one process exclude each other too.
    FileDescriptor file;
    struct stat opened {};
    bool hasTurn = false;

    // The folder may have been moved away since the last time, and be another user's now. The owner of a file can delay whoever
    // opens it, so this does not wait.
    void open() {
        file.reset(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
        hasTurn = false;
        if (!file.isValid() || (::fstat(file.get(), &opened) == 0 && opened.st_uid == ::geteuid()))
            return;
        file.reset();
        errno = EPERM;
    }

    // One waiter at a time has the turn, by a second lock on the same file. Without it, a process that releases and at once
    // acquires again would always win against waiters that sleep. On a file system without such locks every waiter has the turn.
    [[nodiscard]] bool takeTurn() {
        hasTurn = hasTurn || setTurn(F_WRLCK) || (errno != EAGAIN && errno != EACCES);
        return hasTurn;
    }

    void giveTurn() {
        if (std::exchange(hasTurn, false))
            (void)setTurn(F_UNLCK);
    }

    [[nodiscard]] bool isAnybodyWaiting() const {
        struct flock range = turn(F_WRLCK);
        return ::fcntl(file.get(), F_OFD_GETLK, &range) == 0 && range.l_type != F_UNLCK;
    }

    [[nodiscard]] bool setTurn(short type) const {
        struct flock range = turn(type);
        return ::fcntl(file.get(), F_OFD_SETLK, &range) == 0;
    }

    static struct flock turn(short type) {
        struct flock range {};
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_len = 1;
        return range;
    }

    // We never delete the file, but another program may. A lock on a deleted file would not exclude processes that open the new
    // one.
    [[nodiscard]] bool isCurrent() const {
        struct stat named {};
        return ::lstat(path.constData(), &named) == 0 && opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
    }

    // False with the reason in `errno`, which is EWOULDBLOCK when another attempt may help.
    [[nodiscard]] bool tryLock() {
        if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
            return false;
        if (isCurrent()) {
            giveTurn();
            return true;
        }
        open();
        errno = file.isValid() ? EWOULDBLOCK : errno;
        return false;
    }
};

ProcessGuard::ProcessGuard(const QString& name, const QString& folder)
    : m_native(new Native) {
    m_native->path = QFile::encodeName(folder + QLatin1Char('/') + name + QStringLiteral(".lock"));
}

ProcessGuard::~ProcessGuard() = default;

ProcessGuard::Result ProcessGuard::acquire(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    const QDeadlineTimer patience(std::min(timeoutMs, turnTimeoutMs));
    const QDeadlineTimer soon(shortPausesMs);
    if (!m_native->file.isValid()) {
        if (const auto owner = checkOwner(QFile::decodeName(m_native->path)); !owner) {
            m_errorText = owner.reason();
            return Result::Failed;
        }
        m_native->open();
    }
    if (m_native->file.isValid() && !m_native->isAnybodyWaiting() && m_native->tryLock())
        return Result::Acquired;
    while (m_native->file.isValid()) {
        if (m_native->takeTurn() || patience.hasExpired()) {
            if (m_native->tryLock())
                return Result::Acquired;
            if (errno != EWOULDBLOCK && errno != EINTR)
                break;
        }
        if (deadline.hasExpired()) {
            m_native->file.reset();
            return Result::TimedOut;
        }
        QThread::usleep(soon.hasExpired() ? longPauseUs : shortPauseUs);
    }
    m_errorText = qt_error_string(errno);
    m_native->file.reset();
    return Result::Failed;
}

void ProcessGuard::release() {
    if (m_native->file.isValid() && ::flock(m_native->file.get(), LOCK_UN) != 0)
        m_native->file.reset();
}

} // namespace Velquor::Util
