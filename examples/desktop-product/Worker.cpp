#include "Worker.h"

#include <utility>

Worker::Worker()
    : m_thread([this] { work(); }) {}

Worker::~Worker() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.clear();
        m_isEnding = true;
    }
    m_wakeUp.notify_one();
    m_thread.join();
}

void Worker::post(std::function<void()> job) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_jobs.push_back(std::move(job));
    }
    m_wakeUp.notify_one();
}

void Worker::clear() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.clear();
}

void Worker::work() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wakeUp.wait(lock, [this] { return m_isEnding || !m_jobs.empty(); });
        if (m_isEnding)
            return;
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}
