#pragma once

#include "simulation/Runs.h"

#include <QElapsedTimer>

namespace Velquor::Simulation {

/// Shortens a record as long as the same rule breaks: drops whole processes, then parts of the steps, then makes each choice
/// plainer.
///
/// Thread: the director's. Owner: the caller's stack. Errors: ends with what it has after 500 replays or 30 seconds.
class Shrinker {
public:
    using Replay = std::function<Result(const Record&)>;

    explicit Shrinker(Replay replay)
        : m_replay(std::move(replay)) {}

    /// The shortest record found; that of the failure itself when no shorter one breaks its rule.
    [[nodiscard]] Record shrink(const Result& failure);

    static constexpr int replayLimit = 500;
    static constexpr int timeLimitMs = 30000;

private:
    [[nodiscard]] bool accept(const Record& shorter);
    [[nodiscard]] bool isSpent() const;
    void dropProcesses();
    void dropChunks();
    void lowerChoices();

    const Replay m_replay;
    QString m_kind; ///< The rule without what it says of this run.
    Record m_best;
    int m_replays = 0;
    QElapsedTimer m_time;
};

} // namespace Velquor::Simulation
