#include "VqUtil/Platform/Windows/DispatcherTimers.h"

#include <QCoreApplication>
#include <QTimerEvent>
#include <algorithm>

namespace Velquor::Util {

namespace {

constexpr qint64 usPerMs = 1000;

} // namespace

void DispatcherTimers::add(const Info& info, QObject* receiver) {
    m_timers.push_back({info, receiver, nowUs() + info.interval * usPerMs, false});
}

template <typename Condition>
bool DispatcherTimers::removeIf(Condition condition) {
    const auto end = std::remove_if(m_timers.begin(), m_timers.end(), condition);
    const bool isAny = end != m_timers.end();
    m_timers.erase(end, m_timers.end());
    return isAny;
}

bool DispatcherTimers::remove(int id) {
    return removeIf([id](const Timer& timer) { return timer.info.timerId == id; });
}

bool DispatcherTimers::removeAll(const QObject* receiver) {
    return removeIf([receiver](const Timer& timer) { return timer.receiver == receiver; });
}

QList<DispatcherTimers::Info> DispatcherTimers::of(const QObject* receiver) const {
    QList<Info> found;
    for (const Timer& timer : m_timers) {
        if (timer.receiver == receiver)
            found.append(timer.info);
    }
    return found;
}

int DispatcherTimers::msUntil(const Timer& timer) const {
    return static_cast<int>((std::max<qint64>(timer.dueUs - nowUs(), 0) + usPerMs - 1) / usPerMs);
}

int DispatcherTimers::remainingMs(int id) {
    const Timer* const timer = find(id);
    return timer ? msUntil(*timer) : -1;
}

int DispatcherTimers::msUntilNext() const {
    const Timer* next = nullptr;
    for (const Timer& timer : m_timers) {
        if (!timer.isFiring && (!next || timer.dueUs < next->dueUs))
            next = &timer;
    }
    return next ? msUntil(*next) : -1;
}

DispatcherTimers::Timer* DispatcherTimers::find(int id) {
    const auto found =
        std::find_if(m_timers.begin(), m_timers.end(), [id](const Timer& timer) { return timer.info.timerId == id; });
    return found == m_timers.end() ? nullptr : &*found;
}

bool DispatcherTimers::fire() {
    const qint64 now = nowUs();
    const auto isDue = [now](const Timer& timer) { return !timer.isFiring && timer.dueUs <= now; };
    std::vector<std::pair<qint64, int>> due;
    for (const Timer& timer : m_timers) {
        if (isDue(timer))
            due.emplace_back(timer.dueUs, timer.info.timerId);
    }
    std::sort(due.begin(), due.end());
    for (const auto& [dueUs, id] : due) {
        // Looked up by id, before and after the event: a receiver may add and remove timers.
        Timer* timer = find(id);
        if (!timer || !isDue(*timer))
            continue;
        timer->dueUs = now + timer->info.interval * usPerMs;
        timer->isFiring = true;
        QTimerEvent event(id);
        QCoreApplication::sendEvent(timer->receiver, &event);
        timer = find(id);
        if (timer)
            timer->isFiring = false;
    }
    return !due.empty();
}

} // namespace Velquor::Util
