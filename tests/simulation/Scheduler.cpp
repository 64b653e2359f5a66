#include "simulation/Scheduler.h"

#include <algorithm>

namespace Velquor::Simulation {

Scheduler::Scheduler(Choices& choices, int expectedSteps)
    : m_choices(choices) {
    if (choices.isReplay())
        return;
    m_hasPriorities = choices.random() % 2 == 1;
    const int demotions = 1 + int(choices.random() % 3);
    for (int index = 0; index < demotions; index++)
        m_demotions.insert(int(choices.random() % quint64(expectedSteps)));
}

int Scheduler::choose(const std::vector<QByteArray>& runnable) {
    m_step++;
    return m_choices.actor(runnable, [this, &runnable] {
        return m_hasPriorities ? drawByPriority(runnable) : int(m_choices.random() % runnable.size());
    });
}

int Scheduler::drawByPriority(const std::vector<QByteArray>& runnable) {
    const auto first = [this, &runnable] {
        return std::max_element(runnable.begin(), runnable.end(), [this](const QByteArray& left, const QByteArray& right) {
            return priorityOf(left) < priorityOf(right);
        });
    };
    if (m_demotions.count(m_step) > 0)
        priorityOf(*first()) = --m_lowest;
    return int(first() - runnable.begin());
}

qint64& Scheduler::priorityOf(const QByteArray& actor) {
    const auto found = m_priorities.find(actor);
    return found != m_priorities.end() ? found->second : m_priorities[actor] = qint64(m_choices.random() >> 1U);
}

} // namespace Velquor::Simulation
