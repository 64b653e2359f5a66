#pragma once

#include <QString>

namespace Velquor::Util {

/// Exclusion between the processes of one user, and between threads, which ends with its holder.
///
/// Thread: acquire and release on the same thread; one object per holder. Owner: the holder.
class IProcessGuard {
public:
    enum class Result {
        Acquired,
        AcquiredAbandoned, ///< The last holder died while holding it, so the guarded work may be incomplete. Windows only.
        TimedOut,
        Failed, ///< The system refused; `errorText()` says why.
    };

    virtual ~IProcessGuard() = default;

    /// Waits at most `timeoutMs` milliseconds (0 tries once).
    [[nodiscard]] virtual Result acquire(int timeoutMs) = 0;
    virtual void release() = 0;
    [[nodiscard]] virtual QString errorText() const = 0;
};

} // namespace Velquor::Util
