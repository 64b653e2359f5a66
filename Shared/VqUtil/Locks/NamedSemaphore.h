#pragma once

#include <QString>
#include <memory>

namespace Velquor::Util {

/// The kernel object behind `QSystemSemaphore`, but with a limit for the wait, and without the removal when its creator exits.
///
/// A process that uses a plain `QSystemSemaphore` of the same key opens the same object. A missing one is created with count 1.
/// Posix: a System V semaphore whose operations the kernel undoes when their process dies. Windows: a named semaphore.
/// Thread: any; one object per holder. Owner: the holder.
class NamedSemaphore {
public:
    explicit NamedSemaphore(const QString& key);
    ~NamedSemaphore();

    enum class Result { Acquired, TimedOut, Failed };

    [[nodiscard]] Result acquire(int timeoutMs);
    void release();

    /// The state of the process that last acquired or released the semaphore. Always `Unknown` on Windows.
    enum class LastUser { Unknown, Alive, Gone };
    [[nodiscard]] LastUser lastUser() const;

    /// Sets the count to 1 after a holder died without releasing. Only under a guard that excludes all other processes.
    [[nodiscard]] bool repair();
    [[nodiscard]] QString errorText() const { return m_errorText; }

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
    QString m_errorText;
};

/// The name of Qt's kernel object for a key: a prefix, the ASCII letters of the key, and its SHA-1 digest in hexadecimal.
[[nodiscard]] QString qtSemaphoreName(const QString& key);

} // namespace Velquor::Util
