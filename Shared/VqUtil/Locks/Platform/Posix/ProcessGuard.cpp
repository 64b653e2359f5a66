#include "VqUtil/Locks/ProcessGuard.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace Velquor::Util {

namespace {

constexpr int longestPauseMs = 2;
// Longer than everybody's turn takes, unless a process stands still while it waits.
constexpr int turnPatienceMs = 250;

} // namespace

struct ProcessGuard::Native {
    QByteArray path;
    FileDescriptor file;
    bool hasTurn = false;

    // A descriptor for each acquisition, so that two objects of one process exclude each other as two processes do.
    void open() {
        hasTurn = false;
        file.reset(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    }

    // One of those who wait is the next. Without that, a process that comes back at once takes the lock again and again from
    // those who sleep. Where the file system knows no such locks, everybody is the next.
    [[nodiscard]] bool takeTurn() {
        hasTurn = hasTurn || setTurn(F_WRLCK) || (errno != EAGAIN && errno != EACCES);
        return hasTurn;
    }

    [[nodiscard]] bool setTurn(short type) const {
        struct flock range {};
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_len = 1;
        return ::fcntl(file.get(), F_OFD_SETLK, &range) == 0;
    }

    // Nobody here deletes the file, but a lock on one that somebody did delete would exclude no newcomer.
    [[nodiscard]] bool isCurrent() const {
        struct stat held {};
        struct stat named {};
        return ::fstat(file.get(), &held) == 0 && ::stat(path.constData(), &named) == 0 && held.st_ino == named.st_ino
               && held.st_dev == named.st_dev;
    }

    // False with the reason in `errno`, which is EWOULDBLOCK when another attempt may help.
    [[nodiscard]] bool tryLock() {
        if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0)
            return false;
        if (isCurrent()) {
            (void)setTurn(F_UNLCK);
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
    const QDeadlineTimer patience(std::min(timeoutMs, turnPatienceMs));
    m_native->open();
    for (int pauseMs = 1; m_native->file.isValid(); pauseMs = std::min(pauseMs * 2, longestPauseMs)) {
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
        QThread::msleep(static_cast<unsigned long>(pauseMs));
    }
    m_errorText = qt_error_string(errno);
    m_native->file.reset();
    return Result::Failed;
}

void ProcessGuard::release() {
    m_native->file.reset();
}

} // namespace Velquor::Util
