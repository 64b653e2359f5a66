#include "VqUtil/Locks/CrossProcessLock.h"

#include <QDeadlineTimer>
#include <algorithm>
#include <utility>

namespace Velquor::Util {

namespace {
// A process that has just created the semaphore sets its first count within this time.
constexpr int graceMs = 200;
// No program of the format holds the semaphore this long: it reads and writes one small file under it.
constexpr int longestHoldMs = 1000;
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
    if (!acquireGuard(timeoutMs)) {
        m_logger->error(
            m_isRefused ? QStringLiteral("Failed to acquire cross-process lock %1. %2").arg(m_key, m_guard.errorText())
                        : QStringLiteral("Failed to acquire cross-process lock %1: another process holds it for more than %2 ms")
                              .arg(m_key)
                              .arg(timeoutMs));
        return false;
    }
    m_hasSemaphore = acquireSemaphore(std::min(static_cast<int>(deadline.remainingTime()), longestHoldMs));
    return true;
}

bool CrossProcessLock::tryAcquire(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    if (!acquireGuard(timeoutMs))
        return false;
    const NamedSemaphore::Result joined = m_semaphore.acquire(static_cast<int>(deadline.remainingTime()));
    m_hasSemaphore = joined == NamedSemaphore::Result::Acquired;
    if (joined == NamedSemaphore::Result::TimedOut)
        release();
    return m_held;
}

bool CrossProcessLock::acquireGuard(int timeoutMs) {
    const ProcessGuard::Result result = m_guard.acquire(timeoutMs);
    if (result == ProcessGuard::Result::AcquiredAbandoned)
        m_logger->warning(QStringLiteral("The last holder of cross-process lock %1 ended without releasing it").arg(m_key));
    m_isRefused = result == ProcessGuard::Result::Failed;
    m_held = !m_isRefused && result != ProcessGuard::Result::TimedOut;
    return m_held;
}

bool CrossProcessLock::acquireSemaphore(int timeoutMs) {
    auto result = NamedSemaphore::Result::TimedOut;
    int waitedMs = 0;
    // The stages are absolute times. After each one the holder is checked, so that a leaked count costs no full timeout.
    for (const int stageMs : {graceMs, timeoutMs}) {
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

// Windows does not name the last user. There, only a wait that outlasts every holder's work shows that the holder died.
bool CrossProcessLock::isCountLeaked(int waitedMs) const {
    const NamedSemaphore::LastUser user = m_semaphore.lastUser();
    return user == NamedSemaphore::LastUser::Gone || (user == NamedSemaphore::LastUser::Unknown && waitedMs >= longestHoldMs);
}

void CrossProcessLock::release() {
    if (!m_held)
        return;
    m_held = false;
    // In this order: while the semaphore is held, only the guard shows other processes that its count is not leaked.
    if (m_hasSemaphore)
        m_semaphore.release();
    m_guard.release();
}

} // namespace Velquor::Util
