#include "Cancellation.h"

#include <QEventLoop>
#include <atomic>
#include <csignal>

namespace Vqws {

namespace {

constexpr int lookEveryMs = 50;

std::atomic<bool> interrupted{false};

// Only sets the flag, since the handler may run between any two instructions. On Windows it runs on a separate thread.
void interrupt(int signal) {
    interrupted = true;
    std::signal(signal, SIG_DFL);
}

} // namespace

Cancellation::Cancellation(std::optional<int> timeoutSeconds) {
    if (timeoutSeconds)
        setDefaultTimeout(*timeoutSeconds);
    std::signal(SIGINT, &interrupt);
    std::signal(SIGTERM, &interrupt);
    connect(&m_timer, &QTimer::timeout, this, &Cancellation::look);
    m_timer.start(lookEveryMs);
}

void Cancellation::setDefaultTimeout(int seconds) {
    if (m_seconds)
        return;
    m_seconds = seconds;
    m_deadline = QDeadlineTimer(std::chrono::seconds(seconds));
}

bool Cancellation::isRequested() const {
    return interrupted || m_deadline.hasExpired();
}

bool Cancellation::isTimeout() const {
    return !interrupted && m_deadline.hasExpired();
}

QString Cancellation::reason() const {
    return isTimeout() ? QStringLiteral("timed out after %1 s").arg(m_seconds.value_or(0)) : QStringLiteral("cancelled");
}

bool Cancellation::wait(int milliseconds) {
    if (isRequested())
        return false;
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    connect(this, &Cancellation::cancelled, &loop, &QEventLoop::quit);
    loop.exec();
    return !isRequested();
}

void Cancellation::look() {
    if (m_isTold || !isRequested())
        return;
    m_isTold = true;
    Q_EMIT cancelled();
}

} // namespace Vqws
