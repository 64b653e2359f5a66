#include "VqUtil/Ipc/CrossProcessLock.h"

#include <utility>

namespace Velquor::Util {

namespace {
// Longer than any program of the format holds the semaphore while it reads and writes one small file.
constexpr int semaphoreTimeoutMs = 2000;
} // namespace

CrossProcessLock::CrossProcessLock(const QString& semaphoreKey, const QString& folder, std::shared_ptr<Log::ILogger> logger)
    : m_key(semaphoreKey)
    , m_guard(semaphoreKey, folder)
    , m_semaphore(semaphoreKey)
    , m_logger(std::move(logger)) {}

CrossProcessLock::~CrossProcessLock() { release(); }

bool CrossProcessLock::acquire(int timeoutMs) {
    const ProcessGuard::Result result = m_guard.acquire(timeoutMs);
    if (result == ProcessGuard::Result::TimedOut) {
        m_logger->error(QStringLiteral("Failed to acquire cross-process lock %1: another process holds it for more than %2 ms")
                            .arg(m_key).arg(timeoutMs));
        return false;
    }
    if (result == ProcessGuard::Result::Failed) {
        m_logger->error(QStringLiteral("Failed to acquire cross-process lock %1. %2").arg(m_key, m_guard.errorText()));
        return false;
    }
    if (result == ProcessGuard::Result::AcquiredFromTheDead)
        m_logger->warning(QStringLiteral("The last holder of cross-process lock %1 ended without releasing it").arg(m_key));
    if (!acquireSemaphore()) {
        m_guard.release();
        return false;
    }
    m_held = true;
    return true;
}

bool CrossProcessLock::acquireSemaphore() {
    NamedSemaphore::Result result = m_semaphore.acquire(semaphoreTimeoutMs);
    if (result == NamedSemaphore::Result::TimedOut) {
        m_logger->warning(QStringLiteral("Repairing the count of system semaphore %1 that a process ended without giving back").arg(m_key));
        if (m_semaphore.repair())
            result = m_semaphore.acquire(semaphoreTimeoutMs);
    }
    if (result == NamedSemaphore::Result::Acquired)
        return true;
    m_logger->error(QStringLiteral("Failed to acquire system semaphore %1. %2").arg(m_key, m_semaphore.errorText()));
    return false;
}

void CrossProcessLock::release() {
    if (!m_held)
        return;
    m_held = false;
    m_semaphore.release();
    m_guard.release();
}

} // namespace Velquor::Util
