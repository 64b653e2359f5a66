#pragma once

#include <QEventLoop>
#include <QMutex>
#include <QVector>
#include <memory>

namespace Velquor::WebServices::Internal {

/// A local event loop in which a caller waits for the end of a token operation; its exit code is the result of the operation.
///
/// Thread: the waiting caller's; Quit may be posted from any. Owner: the caller's stack.
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

/// Whether a token operation is in progress, the result of the last one, and the callers that wait for its end.
///
/// It outlives the worker, so a waiting caller never touches an object that is being destroyed. Thread: any.
/// Owner: shared by the worker and the waiting callers.
class RunState {
public:
    enum class Entry {
        Entered, ///< The caller does the operation; other callers get `Busy` until `leave`.
        Busy,    ///< An operation is in progress.
        Closed,  ///< The worker is destroyed.
    };

    [[nodiscard]] Entry enter();
    /// Ends the operation with a result (0: failure) and wakes all waiting callers.
    void leave(int result);
    /// Ends an operation in progress as failed; enter() returns `Closed` from now on.
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

/// Waits for the end of an operation. Construct it before the operation is started, so that no end is missed.
///
/// Thread: the caller's, which holds no lock: the event loop handles everything but user input. Owner: the caller's stack.
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
    /// Until the operation ends, for one whose own steps all have a limit. True when it has succeeded.
    [[nodiscard]] bool waitForEnd() { return wait(noLimit).result != 0; }

private:
    static constexpr int noLimit = -1;

    const std::shared_ptr<RunState> m_state;
    EventLoop m_loop;
};

} // namespace Velquor::WebServices::Internal
