#pragma once

#include "Tokens/IRequestClaims.h"
#include "simulation/SimLock.h"

#include <map>
#include <set>

namespace Velquor::Simulation {

/// What all processes share about their token requests. Thread: the director or the running actor. Owner: the run, for longer
/// than the processes.
struct ClaimsTable {
    std::map<QString, std::unique_ptr<SimLock>> locks;
    std::set<QString> pendingRefreshes; ///< By the digest of the key.
    std::map<QString, WebServices::Internal::QueryFailure> failures;
    int refusals = 0; ///< Of locks.
};

/// The claims as one process makes them. What a killed process does has no effect.
///
/// Thread: actors. Owner: the process's session.
class SimClaims final : public WebServices::Internal::IRequestClaims {
public:
    SimClaims(World& world, ClaimsTable& table, const Process& process)
        : m_world(world)
        , m_table(table)
        , m_process(process) {}

    [[nodiscard]] std::unique_ptr<Util::IProcessGuard> makeGuard(const QString& name, const QString& folder) override;
    [[nodiscard]] std::unique_ptr<WebServices::Internal::IPendingRefresh> makePendingRefresh(const QString& keyDigest,
                                                                                             const QString& folder) override;
    [[nodiscard]] std::unique_ptr<WebServices::Internal::IQueryFailures> makeQueryFailures(const QString& lockName,
                                                                                           const QString& folder) override;

private:
    World& m_world;
    ClaimsTable& m_table;
    const Process& m_process;
};

} // namespace Velquor::Simulation
