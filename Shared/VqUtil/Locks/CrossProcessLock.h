#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Locks/NamedSemaphore.h"
#include "VqUtil/Locks/ProcessGuard.h"

#include <memory>

namespace Velquor::Util {

/// A lock between the processes of one user that survives the death of its holder.
///
/// It is two locks, taken in this order: a guard that the operating system frees with its holder, and the named semaphore that
/// other programs of the format expect. The guard alone decides. While we hold it, no process of this library holds the
/// semaphore. So a count that is still missing after a short wait was leaked, or belongs to another program. It is repaired when
/// its last user has died. A living program is waited for, at most a second. Without the semaphore the lock is held all the same:
/// a name that others can take must not end the sharing of the sign-in.
/// Thread: acquire and release on the same thread; not recursive. Owner: the holder. An object per use is fine.
/// Errors: false and one log line, or the line alone without the semaphore; every wait has a limit.
class CrossProcessLock {
public:
    CrossProcessLock(const QString& semaphoreKey, const QString& folder, std::shared_ptr<Log::ILogger> logger);
    ~CrossProcessLock();
    CrossProcessLock(const CrossProcessLock&) = delete;
    CrossProcessLock& operator=(const CrossProcessLock&) = delete;

    /// True when the guard is held. Waits at most `timeoutMs` milliseconds for both locks together (0 tries once).
    [[nodiscard]] bool acquire(int timeoutMs);
    /// The same for a caller that can do without: that others hold the lock, or the semaphore, is no error and no line in the
    /// log.
    [[nodiscard]] bool tryAcquire(int timeoutMs);
    void release();
    /// After a failure: the system refused the guard, for instance on a read-only file system. Nobody holds it then.
    [[nodiscard]] bool isRefused() const { return m_isRefused; }

private:
    [[nodiscard]] bool acquireGuard(int timeoutMs);
    [[nodiscard]] bool acquireSemaphore(int timeoutMs);
    [[nodiscard]] bool isCountLeaked(int waitedMs) const;

    const QString m_key;
    ProcessGuard m_guard;
    NamedSemaphore m_semaphore;
    const std::shared_ptr<Log::ILogger> m_logger;
    bool m_held = false;
    bool m_hasSemaphore = false;
    bool m_isRefused = false;
};

} // namespace Velquor::Util
