#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <qnamespace.h>

class QEventLoop;
class QObject;
class QCoreApplication;
class QThread;

namespace Velquor::WebServices::Internal {

/// A thread of the library on which it starts, delivers events and stops, for hosts that have no thread to give.
///
/// Thread: any. Owner: the process; never destroyed, like its thread, on which an application object that it made lives on.
class COwnThread {
public:
    static COwnThread& instance();

    /// Runs `start` there and waits for its end. When that gives true, the thread delivers events until `stop`.
    bool start(std::function<bool()> start);
    /// Runs `work` there and waits for its end, at once when this is the thread itself; no events are delivered afterwards.
    void stop(const std::function<void()>& work);

    /// True when Qt runs in the host, so that events belong elsewhere.
    [[nodiscard]] bool isHostsTurn() const;
    [[nodiscard]] bool isCurrent() const;

private:
    [[noreturn]] void run();
    void serve();
    void answer(bool isStarted);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::function<bool()> m_start;
    QThread* m_thread = nullptr; ///< Runs, once it is there.
    bool m_hasAnswer = false;
    bool m_answer = false;
    QObject* m_context = nullptr; ///< On the thread, while it delivers events.
    QEventLoop* m_loop = nullptr;
    QCoreApplication* m_ownApplication = nullptr; ///< Which the start has made; it is never destroyed.
    Qt::HANDLE m_id = nullptr;
};

} // namespace Velquor::WebServices::Internal
