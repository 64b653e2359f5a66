#pragma once

#include "VqLog/ILogger.h"

#include <QByteArray>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace Velquor::Log {

/// Hands the lines of the log to the host too, on a thread of its own, so that no logging thread waits for the host.
///
/// Thread: any. Owner: the process; never destroyed. Its thread runs while there is a receiver. Lines beyond a bound are dropped
/// and counted.
class LogTap {
public:
    using Receiver = std::function<void(Level, const QByteArray&)>;

    static LogTap& instance();

    /// From now on the lines go to this receiver. Null ends that; the receiver may still run then, once.
    void setReceiver(Receiver receiver);
    /// Hands out no line any more: the host's function may be gone soon. Takes no lock, since a thread that held one may be gone.
    static void endWithProcess();
    void add(Level level, const QString& line);
    [[nodiscard]] quint64 dropped() const;

private:
    struct Line {
        Level level;
        QByteArray text;
    };

    LogTap() = default;
    [[noreturn]] void run();

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Line> m_lines;
    Receiver m_receiver;
    quint64 m_dropped = 0;
    bool m_isStarted = false;
};

} // namespace Velquor::Log
