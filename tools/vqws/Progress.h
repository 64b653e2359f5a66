#pragma once

#include <QString>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Vqws {

class Cancellation;
class Output;

/// Says on standard error what is being waited for, as soon as a wait takes longer than a second, and sees to it that a wait
/// that was cancelled ends: a call that hears of it too late ends with the process.
///
/// Thread: waitFor() on the main thread; it watches from a thread of its own. Owner: main().
class Progress {
public:
    Progress(const Output& output, const Cancellation& cancellation);

    /// The text stands in "Waiting for ...". Waits do not nest.
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
