#pragma once

#include "Network/INetwork.h"
#include "simulation/Library/Ledger.h"

#include <set>

namespace Velquor::Simulation {

/// The way to the account server, the same for all processes. Thread: the director or the running actor. Owner: the run, for
/// longer than the processes.
struct ServiceLine {
    enum class Outage {
        Status503,
        Silence,
        RefusedConnections,
    };

    explicit ServiceLine(World& world)
        : ledger(world) {}

    Ledger ledger;
    int lostPercent = 0;    ///< Requests, and as many answers.
    qint64 downUntilUs = 0; ///< Until then there is an outage.
    Outage outage = Outage::Status503;
    std::map<QString, int> requests;      ///< That reached the server or its outage, by the path.
    std::map<int, const Process*> askers; ///< By the token that was given out: who asked for it.
    int lostAnswers = 0;
    std::set<int> exhausted; ///< Sign-ins that a process may end, since the server was down for all its tries.
};

/// The network of one process. A request is three steps: it arrives, the server acts, the answer comes back. A killed process
/// sends nothing, but what the server has done for it stays done.
///
/// Thread: actors. Owner: the process's session. Errors: outcomes; what is lost ends at its limit.
class AccountService final : public WebServices::Internal::INetwork {
public:
    AccountService(World& world, ServiceLine& line, const Process& process)
        : m_world(world)
        , m_line(line)
        , m_process(process) {}

    [[nodiscard]] std::unique_ptr<WebServices::Internal::IExchange>
    makeExchange(WebServices::Internal::IExchange::Finished finished, QObject* parent) override;
    [[nodiscard]] WebServices::Internal::ExchangeOutcome
    get(const QNetworkRequest& request, int timeoutMs, const std::shared_ptr<Log::ILogger>& logger,
        const std::shared_ptr<WebServices::Internal::ICancelController>& cancel) override;

    /// Requests of this process that failed for another reason than the server's verdict.
    [[nodiscard]] int faults() const { return m_faults; }

private:
    friend class SimExchange;
    struct Outage {
        int count = 0;
        qint64 lastUs = 0;
    };

    void countOutage(int signIn);

    World& m_world;
    ServiceLine& m_line;
    const Process& m_process;
    int m_faults = 0;
    std::map<int, Outage> m_outages; ///< By the sign-in. Since the last token came.
};

} // namespace Velquor::Simulation
