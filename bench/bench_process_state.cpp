// Measures one query of the flags of the other processes, including the cross-process lock. The limit for one query is 10 us.

#include "QuietLogger.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

namespace {

using namespace Velquor;
using namespace Velquor::Util;
using Bench::QuietLogger;

/// Two processes from the view of the block: one has set flags, the other queries them. The check whether a process is alive runs
/// for real on this process.
class TwoProcesses {
public:
    TwoProcesses() {
        qputenv("XDG_RUNTIME_DIR", m_folder.path().toLocal8Bit());
        ProcessStateDependencies services = systemProcessStateDependencies(m_folder.path(), std::make_shared<QuietLogger>());
        busy = std::make_unique<ProcessState>(services);
        services.ownProcessId = 1;
        looking = std::make_unique<ProcessState>(services);
        for (const auto& state : {busy.get(), looking.get()})
            state->setKey(QStringLiteral("VqBenchProcessState"));
        busy->setPropertyMap(flag("TokenRefreshInProgress"));
    }

    static ProcessProperties flag(const char* name) {
        return {{QStringLiteral("ProductKey"), QStringLiteral("8a6f1c0b2e594d7b9d3f")}, {QLatin1String(name), true}};
    }

    std::unique_ptr<ProcessState> busy;
    std::unique_ptr<ProcessState> looking;

private:
    QTemporaryDir m_folder;
};

void query(benchmark::State& state, const char* name, bool isSet) {
    const TwoProcesses processes;
    const ProcessProperties asked = TwoProcesses::flag(name);
    if (processes.looking->queryProperty(asked) != isSet) {
        state.SkipWithError("the flag is not what it should be");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(processes.looking->queryProperty(asked));
}
BENCHMARK_CAPTURE(query, flagSet, "TokenRefreshInProgress", true);
BENCHMARK_CAPTURE(query, flagNotSet, "AccessTokenQueryInProgress", false);

void setAndDelete(benchmark::State& state) {
    const TwoProcesses processes;
    const ProcessProperties flag = TwoProcesses::flag("AccessTokenQueryInProgress");
    for (auto _ : state) {
        benchmark::DoNotOptimize(processes.busy->setUnlessSetElsewhere(flag));
        processes.busy->deleteProperty(QStringLiteral("AccessTokenQueryInProgress"));
    }
}
BENCHMARK(setAndDelete);

void queryAfterChange(benchmark::State& state) {
    const TwoProcesses processes;
    const ProcessProperties flag = TwoProcesses::flag("TokenRefreshInProgress");
    bool value = false;
    for (auto _ : state) {
        state.PauseTiming();
        processes.busy->setPropertyMap({{QStringLiteral("Change"), value = !value}});
        state.ResumeTiming();
        benchmark::DoNotOptimize(processes.looking->queryProperty(flag));
    }
}
BENCHMARK(queryAfterChange);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
