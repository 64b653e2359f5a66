#include "VqLog/LogQueue.h"

#include <QMutexLocker>
#include <utility>

namespace Velquor::Log {

namespace {
constexpr int maximumMessages = 1000;
}

LogQueue& LogQueue::instance() {
    // Never destroyed: destructors that run at the end of the process still log.
    static auto* const queue = new LogQueue;
    return *queue;
}

bool LogQueue::add(const QueuedMessage& message) {
    if (isLogSetUp())
        return false;
    const QMutexLocker lock(&m_mutex);
    // `finish` may have run since the first check. A message queued now would never be written.
    if (isLogSetUp())
        return false;
    if (m_messages.size() < maximumMessages)
        m_messages.append(message);
    return true;
}

QList<QueuedMessage> LogQueue::finish() {
    const QMutexLocker lock(&m_mutex);
    m_setUp.store(true, std::memory_order_release);
    return std::exchange(m_messages, {});
}

void LogQueue::restart() {
    const QMutexLocker lock(&m_mutex);
    m_setUp.store(false, std::memory_order_release);
}

} // namespace Velquor::Log
