#include "Progress.h"

#include "Cancellation.h"
#include "ExitCode.h"
#include "Output.h"
#include "Platform/Console.h"

#include <cstdlib>

namespace Vqws {

namespace {

constexpr auto pause = std::chrono::seconds(1);
// The library ends its waits within this time. A call that takes longer is stuck in the system.
constexpr int graceSeconds = 5;
const auto eraseLine = QByteArrayLiteral("\r\033[K");

} // namespace

Progress::Progress(const Output& output, const Cancellation& cancellation)
    : m_output(output)
    , m_cancellation(cancellation) {}

Progress::Wait::Wait(Progress& progress, const QString& what)
    : m_progress(progress) {
    progress.m_isDone = false;
    m_thread = std::thread([&progress, what] { progress.watch(what); });
}

Progress::Wait::~Wait() {
    {
        const std::lock_guard<std::mutex> lock(m_progress.m_mutex);
        m_progress.m_isDone = true;
    }
    m_progress.m_changed.notify_one();
    m_thread.join();
}

void Progress::watch(const QString& what) {
    std::unique_lock<std::mutex> lock(m_mutex);
    int secondsCancelled = 0;
    int seconds = 0;
    while (!m_changed.wait_for(lock, pause, [this] { return m_isDone; })) {
        show(what, ++seconds);
        secondsCancelled = m_cancellation.isRequested() ? secondsCancelled + 1 : 0;
        if (secondsCancelled > graceSeconds)
            giveUp(what);
    }
    if (seconds > 0)
        clear();
}

// A terminal gets one line that counts the seconds. A file or a pipe gets one line for each wait.
void Progress::show(const QString& what, int seconds) const {
    const bool isTerminal = Console::width(Console::Stream::Error) > 0;
    if (m_output.isQuiet() || (!isTerminal && seconds > 1))
        return;
    const QString text = isTerminal ? QStringLiteral("Waiting for %1 ... %2 s (Ctrl-C cancels)").arg(what).arg(seconds)
                                    : QStringLiteral("Waiting for %1 (Ctrl-C cancels)\n").arg(what);
    Console::write(Console::Stream::Error, (isTerminal ? eraseLine : QByteArray()) + text.toUtf8());
}

void Progress::clear() const {
    if (!m_output.isQuiet() && Console::width(Console::Stream::Error) > 0)
        Console::write(Console::Stream::Error, eraseLine);
}

void Progress::giveUp(const QString& what) const {
    clear();
    m_output.fail(ExitCode::Cancelled, QStringLiteral("%1 while waiting for %2").arg(m_cancellation.reason(), what));
    std::_Exit(static_cast<int>(ExitCode::Cancelled));
}

} // namespace Vqws
