#include "simulation/SimLock.h"

namespace Velquor::Simulation {

const Actor* SimLock::holder() const {
    const bool isHeld = m_holder && m_holder->isPresent && !m_holder->process.isKilled;
    return isHeld ? m_holder : nullptr;
}

bool SimLock::take(qint64 deadlineUs) {
    const Actor* const actor = m_world.running();
    if (holder() != actor) {
        // Others may run before, also when the lock is free.
        if (!m_world.waitUntil([this] { return !holder(); }, deadlineUs, m_wait))
            return false;
        m_holder = actor;
        m_depth = 0;
    }
    m_depth++;
    return true;
}

void SimLock::unlock() {
    if (m_holder == m_world.running() && --m_depth == 0)
        m_holder = nullptr;
}

} // namespace Velquor::Simulation
