#include "VqUtil/Locks/CrossProcessLock.h"

#include <QDeadlineTimer>
#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {
// Long enough for a process that has just made the semaphore to give it its first count.
constexpr int graceMs = 200;
// Longer than any program of the format holds the semaphore while it reads and writes one small file.
constexpr int patienceMs = 2000;
} // namespace

CrossProcessLock::CrossProcessLock(const QString& semaphoreKey, const QString& folder, std::shared_ptr<Log::ILogger> logger)
    : m_key(semaphoreKey)
    , m_guard(semaphoreKey, folder)
    , m_semaphore(semaphoreKey)
    , m_logger(std::move(logger)) {}

CrossProcessLock::~CrossProcessLock() {
    release();
}

bool CrossProcessLock::acquire(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    const ProcessGuard::Result result = m_guard.acquire(timeoutMs);
    if (result == ProcessGuard::Result::TimedOut) {
        m_logger->error(QStringLiteral("Failed to acquire cross-process lock %1: another process holds it for more than %2 ms")
                            .arg(m_key)
                            .arg(timeoutMs));
        return false;
    }
    if (result == ProcessGuard::Result::Failed) {
        m_logger->error(QStringLiteral("Failed to acquire cross-process lock %1. %2").arg(m_key, m_guard.errorText()));
        return false;
    }
    if (result == ProcessGuard::Result::AcquiredFromTheDead)
        m_logger->warning(QStringLiteral("The last holder of cross-process lock %1 ended without releasing it").arg(m_key));
    m_held = acquireSemaphore(static_cast<int>(deadline.remainingTime()));
    if (!m_held)
        m_guard.release();
    return m_held;
}

bool CrossProcessLock::acquireSemaphore(int timeoutMs) {
    auto result = NamedSemaphore::Result::TimedOut;
    int waitedMs = 0;
    for (const int stageMs : {graceMs, patienceMs, timeoutMs}) {
        const int untilMs = std::max(waitedMs, std::min(stageMs, timeoutMs));
        result = m_semaphore.acquire(untilMs - waitedMs);
        waitedMs = untilMs;
        if (result == NamedSemaphore::Result::TimedOut && isCountLeaked(waitedMs)) {
            m_logger->warning(
                QStringLiteral("Repairing the count of system semaphore %1 that a process ended without giving back").arg(m_key));
            if (m_semaphore.repair())
                result = m_semaphore.acquire(graceMs);
        }
        if (result != NamedSemaphore::Result::TimedOut || waitedMs >= timeoutMs)
            break;
    }
    if (result == NamedSemaphore::Result::Acquired)
        return true;
    m_logger->error(result == NamedSemaphore::Result::TimedOut
                        ? QStringLiteral("Failed to acquire system semaphore %1: another process holds it").arg(m_key)
                        : QStringLiteral("Failed to acquire system semaphore %1. %2").arg(m_key, m_semaphore.errorText()));
    return false;
}

// Where the system does not name the holder, only a wait longer than anybody's work tells the dead from the busy.
bool CrossProcessLock::isCountLeaked(int waitedMs) const {
    const NamedSemaphore::LastUser user = m_semaphore.lastUser();
    return user == NamedSemaphore::LastUser::Gone || (user == NamedSemaphore::LastUser::Unknown && waitedMs >= patienceMs);
}

void CrossProcessLock::release() {
    if (!m_held)
        return;
    m_held = false;
    m_semaphore.release();
    m_guard.release();
}

} // namespace Velquor::Util
