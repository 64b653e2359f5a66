#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <vector>

/// Prints the usual table. Then it prints, for each group of benchmarks ("group/contestant"), the ratio of the first contestant's
/// time to that of the fastest other one. The time is the CPU time, or the real time for benchmarks that measure it because they
/// wait for a disk. Each time is the median of the repetitions of one run, so that all share the machine's noise. Thread: main.
/// Owner: main.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    RatioReporter(std::string ownName, double goal);

    void ReportRuns(const std::vector<Run>& runs) override;
    void Finalize() override;

    /// True when every group met the goal.
    [[nodiscard]] bool isGoalMet() const { return m_isGoalMet; }

private:
    void reportGroup(const std::string& group, const std::map<std::string, double>& medians);

    const std::string m_ownName;
    const double m_goal;
    bool m_isGoalMet = true;
    std::map<std::string, std::map<std::string, std::vector<double>>> m_times;
};

/// Runs all benchmarks of the program with 9 repetitions each. The repetitions of all contestants run in random order, so that
/// other load on the machine affects all equally. `arguments` of the command line come last. Returns the program's exit code.
[[nodiscard]] int runAgainstPeers(int argc, char** argv, const std::string& ownName, double goal);
