#pragma once

#include <QEventLoop>
#include <QMutex>
#include <QVector>
#include <memory>

namespace Velquor::WebServices::Internal {

/// A local event loop that a caller spins until a token operation ends; its exit code is the result of the operation.
///
/// Thread: that of the waiting caller; Quit may be posted from any. Owner: the caller's stack.
class EventLoop : public QEventLoop {
    Q_OBJECT

public:
    /// 0 until `Quit` has run.
    [[nodiscard]] int code() const { return m_code; }
    [[nodiscard]] bool hasQuit() const { return m_hasQuit; }

public slots:
    void Quit(int code) {
        m_code = code;
        m_hasQuit = true;
        quit();
    }

private:
    int m_code = 0;
    bool m_hasQuit = false;
};

/// Whether a token operation is under way, how the last one ended, and who waits for its end.
///
/// It outlives the worker, so that a caller who waits never touches an object that is going away. Thread: any.
/// Owner: shared by the worker and those who wait.
class RunState {
public:
    enum class Entry {
        Entered, ///< The operation is the caller's to do; everybody else is kept out until `leave`.
        Busy,    ///< One is under way already.
        Closed,  ///< The worker has gone.
    };

    [[nodiscard]] Entry enter();
    /// Ends the operation with a result (0: failure) and wakes all who wait.
    void leave(int result);
    /// Ends an operation that is under way with a failure; nothing can be entered any more.
    void close();

    [[nodiscard]] bool isBusy() const;
    /// The result of the operation that ended last; 0 before the first.
    [[nodiscard]] int result() const;

private:
    friend class RunWaiter;
    void wakeAll(int result);

    mutable QMutex m_mutex;
    bool m_busy = false;
    bool m_closed = false;
    int m_result = 0;
    QVector<EventLoop*> m_loops;
};

/// Waits for the end of an operation. Make it before the operation is asked for, so that no end is missed.
///
/// Thread: that of the caller, with no lock held: its event loop may run anything but user input. Owner: the caller's stack.
class RunWaiter {
public:
    explicit RunWaiter(std::shared_ptr<RunState> state);
    ~RunWaiter();
    RunWaiter(const RunWaiter&) = delete;
    RunWaiter& operator=(const RunWaiter&) = delete;

    struct Outcome {
        int result = 0;
        bool isTimedOut = false;
    };
    [[nodiscard]] Outcome wait(int timeoutMs);

private:
    const std::shared_ptr<RunState> m_state;
    EventLoop m_loop;
};

} // namespace Velquor::WebServices::Internal
