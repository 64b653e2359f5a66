#pragma once

#include <QString>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Vqws {

class Cancellation;
class Output;

/// Writes the subject of a wait to standard error when the wait takes longer than a second. Also makes sure that a cancelled
/// wait ends: when the call does not return in time, it ends the process.
///
/// Thread: the main thread for `Wait`; a separate thread watches the time. Owner: main().
class Progress {
public:
    Progress(const Output& output, const Cancellation& cancellation);

    /// The text completes "Waiting for ...". Waits do not nest.
    class Wait {
    public:
        Wait(Progress& progress, const QString& what);
        ~Wait();
        Wait(const Wait&) = delete;
        Wait& operator=(const Wait&) = delete;

    private:
        Progress& m_progress;
        std::thread m_thread;
    };

private:
    void watch(const QString& what);
    void show(const QString& what, int seconds) const;
    void clear() const;
    void giveUp(const QString& what) const;

    const Output& m_output;
    const Cancellation& m_cancellation;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isDone = false;
};

} // namespace Vqws
