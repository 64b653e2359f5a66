#pragma once

#include "Events/IEventCarriers.h"
#include "simulation/World.h"

namespace Velquor::Simulation {

class WiredFile;
class WiredMessaging;

/// Both carriers of events between all processes. What goes by file comes in any order; the messaging keeps it, or does not work
/// at all.
///
/// Thread: actors. Owner: the run, for longer than the processes. Errors: none; an event may be lost, late, or come twice.
class Wire {
public:
    /// How often, in percent, on each carrier and for each receiver.
    struct Faults {
        int lost = 0;
        int twice = 0;
        int late = 0; ///< By many seconds.
    };

    explicit Wire(World& world);

    [[nodiscard]] std::shared_ptr<WebServices::Internal::IEventCarriers> carriersOf(const Process& process);
    /// Processes that receive events now.
    [[nodiscard]] std::size_t receivers() const { return m_files.size(); }
    [[nodiscard]] int lostCount() const { return m_lostCount; }

    Faults faults;

private:
    friend class WiredFile;
    friend class WiredMessaging;

    /// `dueUs`: when the last message arrives, of a carrier that keeps the order.
    template <typename End, typename Deliver>
    void carry(const std::vector<End*>& ends, const End* sender, qint64* dueUs, const Deliver& deliver);
    template <typename End, typename Deliver>
    void send(End& end, qint64 arrivalUs, const Deliver& deliver);

    World& m_world;
    const bool m_hasMessaging;
    int m_lostCount = 0;
    std::vector<WiredFile*> m_files;
    std::vector<WiredMessaging*> m_sockets;
};

} // namespace Velquor::Simulation
