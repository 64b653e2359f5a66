#pragma once

#include <QString>
#include <memory>

namespace Velquor::Util {

/// The kernel object behind `QSystemSemaphore`, with a wait that has a limit and without the removal at the creator's exit.
///
/// Processes that use a plain `QSystemSemaphore` of the same key meet this one. Initial count 1; a missing object is created.
/// Posix: a System V semaphore whose operations the kernel undoes when their process dies. Windows: a named semaphore.
/// Thread: any, one object for each holder. Owner: the holder.
class NamedSemaphore {
public:
    explicit NamedSemaphore(const QString& key);
    ~NamedSemaphore();

    enum class Result { Acquired, TimedOut, Failed };

    [[nodiscard]] Result acquire(int timeoutMs);
    void release();

    /// What became of the process that last took or gave the semaphore. Windows does not tell: always `Unknown`.
    enum class LastUser { Unknown, Alive, Gone };
    [[nodiscard]] LastUser lastUser() const;

    /// Makes the count 1 again after a holder died without giving it back. Only under a guard that keeps everybody else out.
    [[nodiscard]] bool repair();
    [[nodiscard]] QString errorText() const { return m_errorText; }

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
    QString m_errorText;
};

/// The name under which Qt makes a kernel object for a key: a prefix, the ASCII letters of the key, its SHA-1 digest in hex.
[[nodiscard]] QString qtSemaphoreName(const QString& key);

} // namespace Velquor::Util
