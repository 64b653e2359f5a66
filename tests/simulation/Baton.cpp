#include "simulation/Baton.h"

namespace Velquor::Simulation {

int Baton::addActor() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_changed.emplace_back();
    return int(m_changed.size()) - 1;
}

bool Baton::lend(int actor, std::chrono::milliseconds limit) {
    pass(actor);
    return awaitReturn(limit);
}

void Baton::pass(int holder) {
    std::condition_variable* changed = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_holder = holder;
        changed = &m_changed[std::size_t(holder)];
    }
    // Without the mutex, which the other thread would wait for at once.
    changed->notify_one();
}

bool Baton::awaitReturn(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed[director].wait_for(lock, limit, [this] { return m_holder == director; });
}

void Baton::await(int actor) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed[std::size_t(actor)].wait(lock, [this, actor] { return m_holder == actor; });
}

} // namespace Velquor::Simulation
