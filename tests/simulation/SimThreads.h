#pragma once

#include "simulation/World.h"

namespace Velquor::Simulation {

/// Makes, starts and joins the threads of one process: real ones, with a virtual dispatcher, that run when they have the baton.
///
/// Thread: the director or the running actor; `join` an actor. Owner: the process's maker; the world outlives it.
class SimThreads {
public:
    SimThreads(World& world, Process& process)
        : m_world(world)
        , m_process(process) {}

    /// `name` is for the report.
    [[nodiscard]] std::unique_ptr<QThread> make(const QByteArray& name);
    void start(QThread& thread);
    /// Returns when the thread has ended, in virtual time.
    void join(QThread& thread);

private:
    World& m_world;
    Process& m_process;
};

} // namespace Velquor::Simulation
