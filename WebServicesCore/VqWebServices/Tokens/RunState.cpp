#include "Tokens/RunState.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QMetaObject>
#include <QMutexLocker>
#include <QTimer>
#include <utility>

namespace Velquor::WebServices::Internal {

RunState::Entry RunState::enter() {
    const QMutexLocker lock(&m_mutex);
    if (m_closed)
        return Entry::Closed;
    return std::exchange(m_busy, true) ? Entry::Busy : Entry::Entered;
}

void RunState::leave(int result) {
    const QMutexLocker lock(&m_mutex);
    wakeAll(result);
}

void RunState::close() {
    const QMutexLocker lock(&m_mutex);
    m_closed = true;
    wakeAll(0);
}

void RunState::wakeAll(int result) {
    m_busy = false;
    m_result = result;
    m_ends++;
    m_ended.wakeAll();
    // Queued: the loops belong to other threads. Under the mutex, so that no waiter removes its loop in between.
    for (EventLoop* const loop : std::as_const(m_loops)) {
        QMetaObject::invokeMethod(
            loop, [loop, result] { loop->Quit(result); }, Qt::QueuedConnection);
    }
}

bool RunState::isBusy() const {
    const QMutexLocker lock(&m_mutex);
    return m_busy;
}

int RunState::result() const {
    const QMutexLocker lock(&m_mutex);
    return m_result;
}

RunWaiter::RunWaiter(std::shared_ptr<RunState> state)
    : m_state(std::move(state))
    , m_loop(QAbstractEventDispatcher::instance() ? std::make_unique<EventLoop>() : nullptr) {
    const QMutexLocker lock(&m_state->m_mutex);
    m_endsBefore = m_state->m_ends;
    if (m_loop)
        m_state->m_loops += m_loop.get();
}

RunWaiter::~RunWaiter() {
    const QMutexLocker lock(&m_state->m_mutex);
    m_state->m_loops.removeOne(m_loop.get());
}

RunWaiter::Outcome RunWaiter::wait(int timeoutMs) {
    if (!m_state->isBusy())
        return {m_state->result(), false};
    return m_loop ? runLoop(timeoutMs) : sleep(timeoutMs);
}

RunWaiter::Outcome RunWaiter::runLoop(int timeoutMs) {
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, m_loop.get(), &QEventLoop::quit);
    if (timeoutMs != noLimit)
        timer.start(timeoutMs);
    // An end posted before this line is delivered by the loop, so none is missed.
    m_loop->exec(QEventLoop::ExcludeUserInputEvents);
    return {m_loop->code(), !m_loop->hasQuit()};
}

RunWaiter::Outcome RunWaiter::sleep(int timeoutMs) const {
    const QDeadlineTimer deadline = timeoutMs == noLimit ? QDeadlineTimer(QDeadlineTimer::Forever) : QDeadlineTimer(timeoutMs);
    const QMutexLocker lock(&m_state->m_mutex);
    const auto hasEnded = [this] { return m_state->m_ends != m_endsBefore; };
    while (!hasEnded() && m_state->m_ended.wait(&m_state->m_mutex, deadline)) {
    }
    return {hasEnded() ? m_state->m_result : 0, !hasEnded()};
}

} // namespace Velquor::WebServices::Internal
