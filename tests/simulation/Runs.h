#pragma once

#include "simulation/World.h"

namespace Velquor::Simulation {

/// Makes the processes of one run, runs them, and returns the rule that was broken, empty when none was.
using Scenario = std::function<QString(World&)>;

/// How one run ended. A plain value.
struct Result {
    QString rule; ///< Empty when all is well.
    Record record;
    quint64 fingerprint = 0;
    int steps = 0;
    qint64 timeUs = 0;
    QStringList lines; ///< Of a run that keeps them.
};

/// Runs of one scenario: by seed, by record, and shrunk to the shortest record that breaks the same rule.
///
/// Thread: the director's. Owner: the test. Errors: results.
class Runs {
public:
    explicit Runs(Scenario scenario, const World::Options& options = {})
        : m_scenario(std::move(scenario))
        , m_options(options) {}

    [[nodiscard]] Result run(quint64 seed) const;
    /// The mean length of the first seeds' runs, for the option of the same name. The same wherever a test begins.
    [[nodiscard]] int expectedSteps() const;
    /// The lines of the report are kept.
    [[nodiscard]] Result replay(const Record& record) const;
    /// Runs the same seed twice; the rule is broken when the traces differ, since then chance has another source.
    [[nodiscard]] Result runTwice(quint64 seed) const;

    /// What a developer needs: seed, options, rule, the shrunk record, and a line for each of its steps.
    [[nodiscard]] QString explain(quint64 seed, const Result& result) const;

private:
    [[nodiscard]] Result runWith(Choices choices, const World::Options& options) const;

    const Scenario m_scenario;
    const World::Options m_options;
};

} // namespace Velquor::Simulation
