#pragma once

#include "simulation/World.h"

#include <QDateTime>

namespace Velquor::Simulation {

/// The clocks of one process. The true time is the same for all; what a process takes for it may be wrong, and may jump.
///
/// Thread: the director or the running actor. Owner: the process's maker.
class SimClock {
public:
    explicit SimClock(World& world)
        : m_world(world) {}

    /// What the process believes.
    [[nodiscard]] QDateTime now() const { return trueTime().addMSecs(m_offsetMs); }
    [[nodiscard]] QDateTime trueTime() const { return start().addMSecs((m_world.nowUs() + m_world.suspendedUs()) / 1000); }
    /// Nanoseconds of a clock that only goes forward, and stands still while the machine sleeps.
    [[nodiscard]] qint64 steadyNs() const { return m_world.nowUs() * 1000; }
    void jump(qint64 spanMs) { m_offsetMs += spanMs; }

    [[nodiscard]] static QDateTime start() { return QDateTime(QDate(2030, 1, 1), QTime(8, 0), Qt::UTC); }

private:
    World& m_world;
    qint64 m_offsetMs = 0;
};

} // namespace Velquor::Simulation
