#pragma once

#include <QString>
#include <memory>

namespace Velquor::Util {

/// Exclusion between the processes of one user, and between threads. The operating system releases it when its holder dies, for
/// whatever reason. Posix: `flock` on a file that is never deleted. Windows: a named mutex.
///
/// Thread: acquire and release on the same thread; one object per holder. Owner: the holder.
class ProcessGuard {
public:
    /// `folder` must exist. On Posix it holds the lock file "name.lock".
    ProcessGuard(const QString& name, const QString& folder);
    ~ProcessGuard();

    enum class Result {
        Acquired,
        AcquiredAbandoned, ///< The last holder died while holding it, so the guarded work may be incomplete. Windows only.
        TimedOut,
        Failed, ///< The system refused; `errorText()` says why.
    };

    /// Waits at most `timeoutMs` milliseconds (0 tries once).
    [[nodiscard]] Result acquire(int timeoutMs);
    void release();
    [[nodiscard]] QString errorText() const { return m_errorText; }

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
    QString m_errorText;
};

} // namespace Velquor::Util
