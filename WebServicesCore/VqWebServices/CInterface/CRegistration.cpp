#include "CInterface/CRegistration.h"

#include <utility>

namespace Velquor::WebServices::Internal {

bool CRegistration::enter() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_hasEnded)
        return false;
    m_runner = std::this_thread::get_id();
    ++m_depth;
    return true;
}

void CRegistration::leave() {
    bool endsNow = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (--m_depth > 0)
            return;
        m_runner = {};
        endsNow = std::exchange(m_endsWithCall, false);
        m_idle.notify_all();
    }
    if (endsNow)
        releaseOnce();
}

void CRegistration::end() {
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_hasEnded = true;
        if (m_depth > 0 && m_runner == std::this_thread::get_id()) {
            m_endsWithCall = true;
            return;
        }
        m_idle.wait(lock, [this] { return m_depth == 0; });
    }
    releaseOnce();
}

void CRegistration::releaseOnce() {
    if (const vqws_release_fn call = std::exchange(release, nullptr))
        call(user);
}

CRegistrations& CRegistrations::instance() {
    static auto* const registrations = new CRegistrations;
    return *registrations;
}

uint64_t CRegistrations::add(Pointer registration) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_registrations.emplace(++m_last, std::move(registration));
    return m_last;
}

bool CRegistrations::end(uint64_t id) {
    Pointer found;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto place = m_registrations.find(id);
        if (place == m_registrations.end())
            return false;
        found = place->second;
        m_registrations.erase(place);
    }
    // Without the lock: the call that it may wait for may register and unregister.
    found->end();
    return true;
}

void CRegistrations::endEvents() {
    std::vector<uint64_t> ids;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const auto& [id, registration] : m_registrations) {
            if (registration->event)
                ids.push_back(id);
        }
    }
    for (const uint64_t id : ids)
        (void)end(id);
}

std::vector<CRegistrations::Pointer> CRegistrations::all(Kind kind) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Pointer> found;
    for (const auto& [id, registration] : m_registrations) {
        if ((kind == Kind::Events) == (registration->event != nullptr))
            found.push_back(registration);
    }
    return found;
}

} // namespace Velquor::WebServices::Internal
