#include "VqUtil/Threads/HostWake.h"

#include <utility>

namespace Velquor::Util {

HostWake& HostWake::instance() {
    static auto* const wake = new HostWake;
    return *wake;
}

void HostWake::set(std::function<void()> call) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_call = std::move(call);
    m_isAwake = false;
}

void HostWake::wake() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_call && !std::exchange(m_isAwake, true))
        m_call();
}

void HostWake::rearm() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isAwake = false;
}

} // namespace Velquor::Util
