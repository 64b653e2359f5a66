#include "VqUtil/Platform/ProcessGuard.h"

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
// Whoever sleeps longer than the others loses the lock to them again and again.
constexpr int longestPauseMs = 2;
}

struct ProcessGuard::Native {
    QByteArray path;
    FileDescriptor file;

    // A descriptor for each acquisition, so that two objects of one process exclude each other as two processes do.
    void open() { file.reset(::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)); }

    // Nobody here deletes the file, but a lock on one that somebody did delete would exclude no newcomer.
    [[nodiscard]] bool isCurrent() const {
        struct stat held {};
        struct stat named {};
        return ::fstat(file.get(), &held) == 0 && ::stat(path.constData(), &named) == 0 && held.st_ino == named.st_ino
            && held.st_dev == named.st_dev;
    }
};

ProcessGuard::ProcessGuard(const QString& name, const QString& folder)
    : m_native(new Native) {
    m_native->path = QFile::encodeName(folder + QLatin1Char('/') + name + QStringLiteral(".lock"));
}

ProcessGuard::~ProcessGuard() = default;

ProcessGuard::Result ProcessGuard::acquire(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    m_native->open();
    for (int pauseMs = 1; m_native->file.isValid(); pauseMs = std::min(pauseMs * 2, longestPauseMs)) {
        if (::flock(m_native->file.get(), LOCK_EX | LOCK_NB) == 0) {
            if (m_native->isCurrent())
                return Result::Acquired;
            m_native->open();
        } else if (errno != EWOULDBLOCK && errno != EINTR) {
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

void ProcessGuard::release() { m_native->file.reset(); }

} // namespace Velquor::Util
