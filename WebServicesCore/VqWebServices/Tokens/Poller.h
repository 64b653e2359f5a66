#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <functional>

namespace Velquor::WebServices::Internal {

/// Tries something again and again until it succeeds or its time is over, without blocking the thread.
///
/// For what another process holds: no event tells when a process that was killed lets go. Thread: its owner's, with an event
/// loop. Owner: a token worker. One attempt at a time; a new one replaces it.
class Poller : public QObject {
    Q_OBJECT

public:
    using Attempt = std::function<bool()>;
    using Next = std::function<void()>;

    /// `worker`: the object on whose thread the attempts are made, wherever it is moved to.
    explicit Poller(QObject* worker);

    /// Tries at once, then every 100 ms. Either `succeeded` or `timedOut` is called, at once or later, never both.
    void start(int timeoutMs, const Attempt& attempt, const Next& succeeded, const Next& timedOut);
    /// Neither is called any more.
    void stop();

    static constexpr int pauseMs = 100;

private:
    void tryNow();

    QTimer m_timer;
    QElapsedTimer m_elapsed;
    int m_timeoutMs = 0;
    Attempt m_attempt;
    Next m_succeeded;
    Next m_timedOut;
};

} // namespace Velquor::WebServices::Internal
