#pragma once

#include "CInterface/Interface.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Velquor::WebServices::Internal {

/// A function of the host that is called until its registration ends, and the release that follows once.
///
/// Thread: any; its calls come on one thread at a time. Owner: `CRegistrations`, and a call that runs. Errors: none.
class CRegistration {
public:
    vqws_event_fn event = nullptr; ///< Either this one
    vqws_log_fn log = nullptr;     ///< or this one.
    void* user = nullptr;
    vqws_release_fn release = nullptr;

    /// Calls the function by `call`, unless the registration has ended.
    template <class Call>
    void run(const Call& call) {
        if (!enter())
            return;
        const Leaving leaving{*this};
        call();
    }

    /// No call starts from now on. Waits for the one that runs on another thread; the release of one that runs on this thread
    /// follows when that call returns.
    void end();

private:
    struct Leaving {
        CRegistration& registration;
        ~Leaving() { registration.leave(); }
    };
    [[nodiscard]] bool enter();
    void leave();
    void releaseOnce();

    std::mutex m_mutex;
    std::condition_variable m_idle;
    std::thread::id m_runner;
    int m_depth = 0;
    bool m_hasEnded = false;
    bool m_endsWithCall = false; ///< It was ended by its own call.
};

/// The registrations of the process by number. Thread: any. Owner: the process; never destroyed.
class CRegistrations {
public:
    enum class Kind { Events, Log };
    using Pointer = std::shared_ptr<CRegistration>;

    static CRegistrations& instance();

    /// The number, which is never given twice.
    uint64_t add(Pointer registration);
    /// False when there is no such registration.
    bool end(uint64_t id);
    /// Ends all that are called for events.
    void endEvents();
    /// In the order of registration.
    [[nodiscard]] std::vector<Pointer> all(Kind kind) const;

private:
    mutable std::mutex m_mutex;
    uint64_t m_last = 0;
    std::map<uint64_t, Pointer> m_registrations;
};

} // namespace Velquor::WebServices::Internal
