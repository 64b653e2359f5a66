#pragma once

#include "VqUtil/Threads/IRecursiveLock.h"

#include <QString>
#include <QThread>
#include <memory>

namespace Velquor::Util {

/// Makes, starts, pauses and joins the threads on which the library's objects live, and makes the lock that they wait for.
///
/// Thread: any. Owner: shared by those who make threads. A thread is owned by the caller of `make`, and used with the object that
/// made it. Errors: none; a thread that the system refuses to start is Qt's to report.
class IThreads {
public:
    enum class Dispatcher {
        System, ///< Qt's own for the system.
        Lean,   ///< Posted events and timers only.
    };

    virtual ~IThreads() = default;

    /// A thread that runs an event loop once it is started. `name` is for developers.
    [[nodiscard]] virtual std::unique_ptr<QThread> make(const QString& name, Dispatcher dispatcher) = 0;
    virtual void start(QThread& thread) = 0;
    /// Waits for the end of the thread without limit; returns at once when it does not run. Not on the thread itself.
    virtual void join(QThread& thread) = 0;
    /// The calling thread stands still.
    virtual void pause(int spanMs) = 0;
    [[nodiscard]] virtual std::unique_ptr<IRecursiveLock> makeLock() = 0;
};

} // namespace Velquor::Util
