#include "simulation/SimThreads.h"

#include "simulation/VirtualDispatcher.h"

namespace Velquor::Simulation {

namespace {
constexpr uint stackSize = 1024 * 1024;
}

std::unique_ptr<QThread> SimThreads::make(const QByteArray& name) {
    auto thread = std::make_unique<QThread>();
    // The system keeps small stacks for the next threads.
    thread->setStackSize(stackSize);
    Actor& actor = m_world.addActor(m_process, name, *thread);
    thread->setEventDispatcher(new VirtualDispatcher(m_world, actor));
    // The first connection: what others connect runs with the baton.
    QObject::connect(thread.get(), &QThread::started, [&world = m_world, &actor] { world.enter(actor); });
    return thread;
}

void SimThreads::start(QThread& thread) {
    m_world.appear(m_world.actorOf(thread));
    thread.start(QThread::InheritPriority);
}

void SimThreads::join(QThread& thread) {
    const Actor& actor = m_world.actorOf(thread);
    (void)m_world.waitUntil([&actor] { return !actor.isPresent; }, World::never, "joins " + actor.name);
    thread.wait(); // the rest of its end needs no baton
}

} // namespace Velquor::Simulation
