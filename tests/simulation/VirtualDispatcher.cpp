#include "simulation/VirtualDispatcher.h"

#include <QCoreApplication>
#include <QTimerEvent>
#include <algorithm>
#include <utility>

namespace Velquor::Simulation {

bool VirtualDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags) {
    m_isInterrupted = false;
    emit awake();
    const bool hadPosted = std::exchange(m_isWoken, false);
    m_isSendingPosted = true;
    QCoreApplication::sendPostedEvents();
    m_isSendingPosted = false;
    const bool hadTimers = !m_isInterrupted && fireDueTimers();
    if (hadPosted || hadTimers || m_isInterrupted || !flags.testFlag(QEventLoop::WaitForMoreEvents))
        return hadPosted || hadTimers;
    waitForEvents();
    m_isChosen = true;
    const bool hadEvents = processEvents(flags & ~QEventLoop::ProcessEventsFlags(QEventLoop::WaitForMoreEvents));
    m_isChosen = false;
    return hadEvents;
}

void VirtualDispatcher::letOthersRun(const QByteArray& what) {
    if (!std::exchange(m_isChosen, false))
        m_world.yield(what);
}

void VirtualDispatcher::waitForEvents() {
    emit aboutToBlock();
    const bool isOutermost = m_actor.thread->loopLevel() <= 1;
    (void)m_world.waitUntil([this] { return m_isWoken; }, nextDueUs(),
                            isOutermost ? QByteArrayLiteral("event loop") : QByteArrayLiteral("nested event loop"),
                            isOutermost ? Actor::Waits::Idle : Actor::Waits::Busy);
}

bool VirtualDispatcher::beginCall() {
    const bool isPosted = std::exchange(m_isSendingPosted, false);
    if (isPosted)
        letOthersRun(QByteArrayLiteral("takes a posted call"));
    return isPosted;
}

qint64 VirtualDispatcher::nextDueUs() const {
    qint64 next = World::never;
    for (const Timer& timer : m_timers)
        next = std::min(next, timer.dueUs);
    return next;
}

VirtualDispatcher::Timers::iterator VirtualDispatcher::find(int timerId) {
    return std::find_if(m_timers.begin(), m_timers.end(), [timerId](const Timer& timer) { return timer.id == timerId; });
}

bool VirtualDispatcher::fireDueTimers() {
    Timers due;
    std::copy_if(m_timers.begin(), m_timers.end(), std::back_inserter(due),
                 [nowUs = m_world.nowUs()](const Timer& timer) { return timer.dueUs <= nowUs; });
    std::stable_sort(due.begin(), due.end(), [](const Timer& left, const Timer& right) { return left.dueUs < right.dueUs; });
    bool hasFired = false;
    for (const Timer& timer : due)
        hasFired = (!m_isInterrupted && fire(timer.id)) || hasFired;
    return hasFired;
}

bool VirtualDispatcher::fire(int timerId) {
    const auto isDue = [this, timerId] { return find(timerId) != m_timers.end() && find(timerId)->dueUs <= m_world.nowUs(); };
    // What ran before may have ended or started the timer.
    if (!isDue())
        return false;
    letOthersRun(QByteArrayLiteral("takes a timer"));
    if (!isDue())
        return false;
    const auto timer = find(timerId);
    timer->dueUs = m_world.nowUs() + timer->intervalMs * qint64(1000);
    QTimerEvent event(timerId);
    QCoreApplication::sendEvent(timer->object, &event);
    return true;
}

void VirtualDispatcher::registerSocketNotifier(QSocketNotifier*) {
    qFatal("%s uses a socket: a seam is missing.", m_actor.name.constData());
}

void VirtualDispatcher::registerTimer(int timerId, Interval interval, Qt::TimerType timerType, QObject* object) {
    m_timers.push_back({timerId, interval, timerType, object, m_world.nowUs() + interval * qint64(1000)});
}

bool VirtualDispatcher::unregisterTimer(int timerId) {
    const auto timer = find(timerId);
    if (timer == m_timers.end())
        return false;
    m_timers.erase(timer);
    return true;
}

bool VirtualDispatcher::unregisterTimers(QObject* object) {
    const auto first =
        std::remove_if(m_timers.begin(), m_timers.end(), [object](const Timer& timer) { return timer.object == object; });
    const bool hadOne = first != m_timers.end();
    m_timers.erase(first, m_timers.end());
    return hadOne;
}

QList<QAbstractEventDispatcher::TimerInfo> VirtualDispatcher::registeredTimers(QObject* object) const {
    QList<TimerInfo> found;
    for (const Timer& timer : m_timers)
        if (timer.object == object)
            found += TimerInfo(timer.id, static_cast<int>(timer.intervalMs), timer.type);
    return found;
}

int VirtualDispatcher::remainingTime(int timerId) {
    const auto timer = find(timerId);
    return timer == m_timers.end() ? -1 : int(std::max<qint64>(0, timer->dueUs - m_world.nowUs()) / 1000);
}

} // namespace Velquor::Simulation
