#include "Tokens/Poller.h"

#include <utility>

namespace Velquor::WebServices::Internal {

Poller::Poller(QObject* worker, Util::SteadyClock clock)
    : QObject(worker)
    , m_timer(this)
    , m_elapsed(std::move(clock)) {
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, this, &Poller::tryNow);
}

void Poller::start(int timeoutMs, const Attempt& attempt, const Next& succeeded, const Next& timedOut) {
    m_timer.stop();
    m_timeoutMs = timeoutMs;
    m_attempt = attempt;
    m_succeeded = succeeded;
    m_timedOut = timedOut;
    m_elapsed.restart();
    tryNow();
}

void Poller::stop() {
    m_timer.stop();
    m_attempt = {};
    m_succeeded = {};
    m_timedOut = {};
}

void Poller::tryNow() {
    const bool succeeded = m_attempt();
    if (!succeeded && m_elapsed.elapsedMs() < m_timeoutMs) {
        m_timer.start(pauseMs);
        return;
    }
    // The function may start the next wait, so this one ends first.
    const Next next = succeeded ? std::move(m_succeeded) : std::move(m_timedOut);
    stop();
    next();
}

} // namespace Velquor::WebServices::Internal
