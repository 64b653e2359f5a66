#pragma once

#include <chrono>

namespace Velquor::Util {

/// Excludes threads of one process from each other. The thread that holds it may take it again.
///
/// The names are those of the standard's locks, so that `std::unique_lock` takes it. Thread: any. Owner: who made it, for longer
/// than its users.
class IRecursiveLock {
public:
    virtual ~IRecursiveLock() = default;

    virtual void lock() = 0;
    virtual void unlock() = 0;
    /// Waits at most so long; 0 tries once.
    [[nodiscard]] virtual bool tryLock(std::chrono::milliseconds limit) = 0;

    [[nodiscard]] bool try_lock() { return tryLock(std::chrono::milliseconds(0)); }
    [[nodiscard]] bool try_lock_for(std::chrono::milliseconds limit) { return tryLock(limit); }
};

} // namespace Velquor::Util
