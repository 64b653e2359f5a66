#pragma once

#include "VqLog/ILogger.h"

#include <QList>
#include <QMutex>
#include <atomic>

namespace Velquor::Log {

/// A message logged before the log is set up. The text is a finished line.
struct QueuedMessage {
    QString logger;
    Level level = Level::Information;
    QString text;
};

/// Keeps the messages logged before the log is set up, at most the first 1000 of them.
///
/// Thread: any. Owner: the process.
class LogQueue {
public:
    static LogQueue& instance();

    /// Queues the message and returns true while the log is not set up. After false the caller writes it.
    bool add(const QueuedMessage& message);

    [[nodiscard]] bool isLogSetUp() const { return m_setUp.load(std::memory_order_acquire); }

    /// From now on messages are written; returns the queued ones.
    [[nodiscard]] QList<QueuedMessage> finish();

    /// From now on messages are queued again: the log was shut down.
    void restart();

private:
    LogQueue() = default;

    QMutex m_mutex;
    QList<QueuedMessage> m_messages;
    std::atomic<bool> m_setUp{false};
};

} // namespace Velquor::Log
