#pragma once

#include <QString>
#include <memory>

namespace Velquor::Util {

/// Exclusion between the processes of one user (and between threads) that the operating system ends with its holder: whoever
/// holds it and dies, however it dies, holds it no longer. Posix: `flock` on a file that is never deleted. Windows: a named
/// mutex.
///
/// Thread: acquire and release on the same thread; one object for each holder. Owner: the holder.
class ProcessGuard {
public:
    /// `name` names the guard; `folder` is where the Posix lock file "name.lock" lives (it must exist).
    ProcessGuard(const QString& name, const QString& folder);
    ~ProcessGuard();

    enum class Result {
        Acquired,
        AcquiredFromTheDead, ///< The last holder died inside; what it guarded may be half done. Windows only.
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
