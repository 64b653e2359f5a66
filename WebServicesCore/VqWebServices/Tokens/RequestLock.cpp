#include "Tokens/RequestLock.h"

#include <utility>

namespace Velquor::WebServices::Internal {

RequestLock::RequestLock(const QString& name, std::unique_ptr<Util::IProcessGuard> guard, std::shared_ptr<Log::ILogger> logger)
    : m_name(name)
    , m_logger(std::move(logger))
    , m_guard(std::move(guard)) {}

bool RequestLock::acquire() {
    // Some systems grant a lock again to the thread that holds it, so our own state is checked first.
    if (m_isHeld)
        return false;
    const Util::IProcessGuard::Result result = m_guard->acquire(0);
    if (result == Util::IProcessGuard::Result::Failed)
        reportRefusal();
    // Also without a lock that the system refuses to give, see the class.
    m_isHeld = result != Util::IProcessGuard::Result::TimedOut;
    return m_isHeld;
}

void RequestLock::reportRefusal() {
    if (std::exchange(m_isRefusalReported, true))
        return;
    m_logger->error(QStringLiteral("Failed to lock %1. %2 Going on without the lock.").arg(m_name, m_guard->errorText()));
}

void RequestLock::release() {
    if (std::exchange(m_isHeld, false))
        m_guard->release();
}

bool RequestLock::isTaken() {
    const bool isFree = acquire();
    if (isFree)
        release();
    return !isFree;
}

} // namespace Velquor::WebServices::Internal
