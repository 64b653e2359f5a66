#pragma once

#include "Events/WebServicesEvent.h"
#include "VqUtil/General/SteadyTimer.h"

#include <atomic>
#include <utility>

namespace Velquor::WebServices::Internal {

/// When this process last notified its observers of another process's sign-in or sign-out that it found in the file. The event of
/// that sign-in arrives too, and must not notify them a second time. Thread: any. Owner: the session's state.
class NotifiedChanges {
public:
    using Event = WebServicesPrivateCore::WebServicesEvent;

    explicit NotifiedChanges(Util::SteadyClock clock)
        : m_clock(std::move(clock)) {}

    [[nodiscard]] qint64 now() const { return m_clock(); }
    void add(Event event) { lastOf(event) = now(); }
    /// `start`: a value of `now`.
    [[nodiscard]] bool hasSince(Event event, qint64 start) const {
        const qint64 last = event == Event::LoggedIn ? m_signIn : m_signOut;
        return last != never && last >= start;
    }

private:
    static constexpr qint64 never = -1;

    [[nodiscard]] std::atomic<qint64>& lastOf(Event event) { return event == Event::LoggedIn ? m_signIn : m_signOut; }

    const Util::SteadyClock m_clock;
    std::atomic<qint64> m_signIn{never};
    std::atomic<qint64> m_signOut{never};
};

} // namespace Velquor::WebServices::Internal
