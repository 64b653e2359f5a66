#pragma once

#include "simulation/Choices.h"

#include <map>
#include <set>

namespace Velquor::Simulation {

/// Decides which actor runs next. Half of the runs draw it evenly. The other half gives the actors random priorities, and a few
/// times in a run puts the first one last: this finds a fault that needs d such changes with a chance that does not fall with the
/// number of actors at each step (probabilistic concurrency testing).
///
/// Thread: the director's. Owner: the world.
class Scheduler {
public:
    /// `expectedSteps`: the changes of priority are spread over as many.
    Scheduler(Choices& choices, int expectedSteps);

    /// The index of one of the actors, of which there is at least one.
    [[nodiscard]] int choose(const std::vector<QByteArray>& runnable);

private:
    [[nodiscard]] int drawByPriority(const std::vector<QByteArray>& runnable);
    [[nodiscard]] qint64& priorityOf(const QByteArray& actor);

    Choices& m_choices;
    bool m_hasPriorities = false;
    int m_step = 0;
    std::set<int> m_demotions; ///< The steps at which the first actor becomes the last.
    std::map<QByteArray, qint64> m_priorities;
    qint64 m_lowest = 0;
};

} // namespace Velquor::Simulation
