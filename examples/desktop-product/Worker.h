#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// A thread that runs one job after the other, so that no call that may wait runs on the main thread.
///
/// It has no event loop on purpose. The library handles events while it waits, so a job that is queued as an event could start
/// inside another one. Thread: any. Owner: the product. Destruction drops jobs that have not started and waits for the current
/// one.
class Worker {
public:
    Worker();
    ~Worker();
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void post(std::function<void()> job);
    /// Drops the jobs that have not started.
    void clear();

private:
    void work();

    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
    std::deque<std::function<void()>> m_jobs;
    bool m_isEnding = false;
    std::thread m_thread;
};
