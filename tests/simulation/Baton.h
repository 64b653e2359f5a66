#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace Velquor::Simulation {

/// Lets exactly one of many threads run: the director, who lends the baton, or the actor that has it.
///
/// Everything that a holder did happens before what the next one does, so what they share needs no lock. Thread: any. Owner: the
/// world.
class Baton {
public:
    /// Director: lends the baton and waits until it is back. False when that took longer than the limit; the actor has it still.
    [[nodiscard]] bool lend(int actor, std::chrono::milliseconds limit);
    /// Director: the second wait, after `lend` returned false.
    [[nodiscard]] bool awaitReturn(std::chrono::milliseconds limit);
    /// The actors are numbered from 1 on. Director or the holder.
    [[nodiscard]] int addActor();

    /// Actor: waits until it is lent the baton.
    void await(int actor);
    /// Actor: gives the baton back.
    void giveBack() { pass(director); }

private:
    static constexpr int director = 0;

    void pass(int holder);

    std::mutex m_mutex;
    int m_holder = director;
    std::deque<std::condition_variable> m_changed{1}; ///< One for each possible holder; a deque moves none of them.
};

} // namespace Velquor::Simulation
