#pragma once

#include "VqUtil/General/SteadyTimer.h"

#include <QTimer>
#include <functional>

namespace Velquor::WebServices::Internal {

/// Repeats an attempt until it succeeds or times out, without blocking the thread.
///
/// Used for locks of other processes: no event reports that a killed process has released one. Thread: its owner's, with an event
/// loop. Owner: a token worker. One wait at a time; a new one replaces it.
class Poller : public QObject {
    Q_OBJECT

public:
    using Attempt = std::function<bool()>;
    using Next = std::function<void()>;

    /// The attempts are made on the thread of `worker`, also after it was moved to another thread.
    Poller(QObject* worker, Util::SteadyClock clock);

    /// Tries at once, then every 100 ms. Either `succeeded` or `timedOut` is called, at once or later, never both.
    void start(int timeoutMs, const Attempt& attempt, const Next& succeeded, const Next& timedOut);
    /// Neither function is called after this.
    void stop();

    static constexpr int pauseMs = 100;

private:
    void tryNow();

    QTimer m_timer;
    Util::SteadyTimer m_elapsed;
    int m_timeoutMs = 0;
    Attempt m_attempt;
    Next m_succeeded;
    Next m_timedOut;
};

} // namespace Velquor::WebServices::Internal
