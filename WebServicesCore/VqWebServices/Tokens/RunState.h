#pragma once

#include <QEventLoop>
#include <QMutex>
#include <QVector>
#include <QWaitCondition>
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
    quint64 m_ends = 0; ///< How many operations have ended.
    QWaitCondition m_ended;
    QVector<EventLoop*> m_loops;
};

/// Waits for the end of an operation. Construct it before the operation is started, so that no end is missed.
///
/// On a thread that has run an event loop of Qt it runs a local one. Any other thread sleeps: a loop would give it an event
/// dispatcher for good, which takes the thread's place in GLib away from a host that runs GTK. Thread: the caller's, which holds
/// no lock: the event loop handles everything but user input. Owner: the caller's stack.
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

    [[nodiscard]] Outcome runLoop(int timeoutMs);
    [[nodiscard]] Outcome sleep(int timeoutMs) const;

    const std::shared_ptr<RunState> m_state;
    const std::unique_ptr<EventLoop> m_loop; ///< Null on a thread that sleeps.
    quint64 m_endsBefore = 0;
};

} // namespace Velquor::WebServices::Internal
