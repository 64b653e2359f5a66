#include "simulation/Runs.h"

#include "simulation/Shrinker.h"

#include <algorithm>

namespace Velquor::Simulation {

namespace {
constexpr int measuredRuns = 3;
}

Result Runs::runWith(Choices choices, const World::Options& options) const {
    World world(choices, options);
    Result result;
    result.rule = m_scenario(world);
    world.endAll();
    result.record = choices.record();
    result.fingerprint = world.report().fingerprint();
    result.steps = world.steps();
    result.timeUs = world.nowUs();
    result.lines = world.report().lines();
    return result;
}

Result Runs::run(quint64 seed) const {
    return runWith(Choices(seed), m_options);
}

int Runs::expectedSteps() const {
    int steps = 0;
    for (int seed = 0; seed < measuredRuns; seed++)
        steps += run(quint64(seed)).steps;
    return std::max(1, steps / measuredRuns);
}

Result Runs::replay(const Record& record) const {
    World::Options options = m_options;
    options.keepsLines = true;
    return runWith(Choices(record), options);
}

Result Runs::runTwice(quint64 seed) const {
    Result first = run(seed);
    const Result second = run(seed);
    if (first.rule.isEmpty() && (first.fingerprint != second.fingerprint || first.rule != second.rule))
        first.rule = QStringLiteral("two runs of the same seed differ: something else than the choices decides");
    return first;
}

QString Runs::explain(quint64 seed, const Result& result) const {
    const Record shortest = Shrinker([this](const Record& record) { return replay(record); }).shrink(result);
    const Result last = replay(shortest);
    const QString head = QStringLiteral("seed %1, alarm %2 ms, late %3 %: %4 (%5 steps, shrunk to %6)\nreplay: %7\n")
                             .arg(seed)
                             .arg(m_options.alarmMs)
                             .arg(m_options.latePercent)
                             .arg(result.rule)
                             .arg(result.steps)
                             .arg(last.steps)
                             .arg(QString::fromUtf8(textOf(shortest)));
    return head + last.lines.join(QLatin1Char('\n'));
}

} // namespace Velquor::Simulation
