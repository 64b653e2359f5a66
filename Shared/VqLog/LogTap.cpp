#include "VqLog/LogTap.h"

#include <atomic>
#include <utility>

namespace Velquor::Log {

namespace {

constexpr std::size_t mostLines = 4096;
std::atomic<bool> hasReceiver{false};
std::atomic<bool> isOver{false};

} // namespace

LogTap& LogTap::instance() {
    static auto* const tap = new LogTap;
    return *tap;
}

void LogTap::setReceiver(Receiver receiver) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_receiver = std::move(receiver);
    if (!m_receiver)
        m_lines.clear();
    hasReceiver = m_receiver != nullptr;
    // It is never ended: it waits without the help of anything that a process ends with.
    if (m_receiver && !std::exchange(m_isStarted, true))
        std::thread([this] { run(); }).detach();
}

void LogTap::endWithProcess() {
    isOver = true;
    hasReceiver = false;
}

void LogTap::add(Level level, const QString& line) {
    if (!hasReceiver)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_lines.size() >= mostLines) {
        ++m_dropped;
        return;
    }
    m_lines.push_back({level, line.toUtf8()});
    m_changed.notify_one();
}

quint64 LogTap::dropped() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_dropped;
}

void LogTap::run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return !m_lines.empty(); });
        const Line line = std::move(m_lines.front());
        m_lines.pop_front();
        const Receiver receiver = m_receiver;
        if (!receiver || isOver)
            continue;
        lock.unlock();
        receiver(line.level, line.text);
        lock.lock();
    }
}

} // namespace Velquor::Log
