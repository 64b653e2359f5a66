#pragma once

#include "VqUtil/Threads/IThreads.h"
#include "simulation/SimLock.h"
#include "simulation/SimThreads.h"

namespace Velquor::Simulation {

/// The threads of one simulated process, and the locks that they wait for, as the library makes them.
///
/// Thread and errors: as of SimThreads. Owner: shared by what runs in the process; the world outlives it.
class ProcessThreads final : public Util::IThreads {
public:
    ProcessThreads(World& world, Process& process)
        : m_world(world)
        , m_threads(world, process) {}

    std::unique_ptr<QThread> make(const QString& name, Dispatcher) override { return m_threads.make(name.toUtf8()); }
    void start(QThread& thread) override { m_threads.start(thread); }
    void join(QThread& thread) override { m_threads.join(thread); }
    void pause(int spanMs) override { m_world.sleep(spanMs); }
    std::unique_ptr<Util::IRecursiveLock> makeLock() override { return std::make_unique<Lock>(m_world); }

private:
    class Lock final : public Util::IRecursiveLock {
    public:
        explicit Lock(World& world)
            : m_lock(world, "session") {}
        void lock() override { m_lock.lock(); }
        void unlock() override { m_lock.unlock(); }
        [[nodiscard]] bool tryLock(std::chrono::milliseconds limit) override { return m_lock.try_lock_for(limit); }

    private:
        SimLock m_lock;
    };

    World& m_world;
    SimThreads m_threads;
};

} // namespace Velquor::Simulation
