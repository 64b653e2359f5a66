#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// A thread that does one job after the other, so that no call that may wait is made on the main thread.
///
/// Not a thread with an event loop on purpose: the library handles events while it waits, and a job that is queued as an event
/// could begin inside of another one. Thread: any. Owner: the product. Destruction drops what has not begun and waits for the
/// rest.
class Worker {
public:
    Worker();
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void post(std::function<void()> job);
    /// Drops the jobs that have not begun.
    void clear();

private:
    void work();

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::deque<std::function<void()>> m_jobs;
    bool m_isEnding = false;
    std::thread m_thread;
};
