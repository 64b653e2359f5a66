#include "RatioReporter.h"

#include <algorithm>
#include <limits>
#include <ostream>
#include <utility>

namespace {

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

bool isRealTime(const benchmark::BenchmarkReporter::Run& run) {
    return run.run_name.time_type == "real_time";
}

} // namespace

RatioReporter::RatioReporter(std::string ownName, double goal)
    : m_ownName(std::move(ownName))
    , m_goal(goal) {}

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        const std::string& name = run.run_name.function_name;
        const size_t slash = name.find('/');
        if (run.run_type == Run::RT_Iteration && !run.error_occurred && slash != std::string::npos)
            m_times[name.substr(0, slash)][name.substr(slash + 1)].push_back(isRealTime(run) ? run.GetAdjustedRealTime()
                                                                                             : run.GetAdjustedCPUTime());
    }
}

void RatioReporter::Finalize() {
    ConsoleReporter::Finalize();
    for (const auto& group : m_times) {
        std::map<std::string, double> medians;
        for (const auto& contestant : group.second)
            medians[contestant.first] = median(contestant.second);
        reportGroup(group.first, medians);
    }
}

void RatioReporter::reportGroup(const std::string& group, const std::map<std::string, double>& medians) {
    const auto own = medians.find(m_ownName);
    double fastest = std::numeric_limits<double>::infinity();
    std::string peer;
    for (const auto& contestant : medians) {
        if (contestant.first != m_ownName && contestant.second < fastest) {
            fastest = contestant.second;
            peer = contestant.first;
        }
    }
    if (own == medians.end() || peer.empty())
        return;
    const double ratio = own->second / fastest;
    m_isGoalMet = m_isGoalMet && ratio <= m_goal;
    GetOutputStream() << group << ": " << m_ownName << " takes " << ratio << " of the time of " << peer << " (goal: at most "
                      << m_goal << ")\n";
}

int runAgainstPeers(int argc, char** argv, const std::string& ownName, double goal) {
    char repetitions[] = "--benchmark_repetitions=9";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char time[] = "--benchmark_min_time=0.1";
    std::vector<char*> arguments{argv[0], repetitions, interleaving, time};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    RatioReporter reporter(ownName, goal);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return reporter.isGoalMet() ? 0 : 1;
}
