#include "VqUtil/Platform/ProcessGuard.h"

#include "VqUtil/Platform/Posix/FileDescriptor.h"

#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace Velquor::Util {

namespace {
constexpr int longestPauseMs = 10;
}

struct ProcessGuard::Native {
    QByteArray path;
    FileDescriptor file;
};

ProcessGuard::ProcessGuard(const QString& name, const QString& folder)
    : m_native(new Native) {
    m_native->path = QFile::encodeName(folder + QLatin1Char('/') + name + QStringLiteral(".lock"));
}

ProcessGuard::~ProcessGuard() = default;

ProcessGuard::Result ProcessGuard::acquire(int timeoutMs) {
    // A descriptor for each acquisition, so that two objects of one process exclude each other as two processes do.
    m_native->file.reset(::open(m_native->path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    QElapsedTimer waited;
    waited.start();
    for (int pauseMs = 1; m_native->file.isValid(); pauseMs = std::min(pauseMs * 2, longestPauseMs)) {
        if (::flock(m_native->file.get(), LOCK_EX | LOCK_NB) == 0)
            return Result::Acquired;
        if (errno != EWOULDBLOCK && errno != EINTR)
            break;
        if (waited.elapsed() >= timeoutMs) {
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
