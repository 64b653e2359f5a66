#pragma once

#include "simulation/World.h"

#include <chrono>

namespace Velquor::Simulation {

/// A lock whose waits are waits in virtual time: a recursive mutex of one process, or a lock between processes. A killed process
/// holds none.
///
/// Thread: actors. Owner: any, for longer than its users. Errors: a wait without an end is the world's to report.
class SimLock {
public:
    SimLock(World& world, const QByteArray& name)
        : m_world(world)
        , m_wait("waits for " + name) {}

    void lock() { (void)take(World::never); }
    [[nodiscard]] bool try_lock() { return take(m_world.nowUs()); }
    template <typename Rep, typename Period>
    [[nodiscard]] bool try_lock_for(std::chrono::duration<Rep, Period> span) {
        return take(m_world.nowUs() + std::chrono::duration_cast<std::chrono::microseconds>(span).count());
    }
    void unlock();

    /// Null when it is free.
    [[nodiscard]] const Actor* holder() const;

private:
    [[nodiscard]] bool take(qint64 deadlineUs);

    World& m_world;
    const QByteArray m_wait;
    const Actor* m_holder = nullptr;
    int m_depth = 0;
};

} // namespace Velquor::Simulation
