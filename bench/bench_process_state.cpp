// Measures one query of the flags of the other processes, including the cross-process lock. It is compared with the lock and a
// copy of a shared memory of the same size. The limit for one query is 10 us.

#include "QuietLogger.h"
#include "RatioReporter.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSharedMemory>
#include <QTemporaryDir>
#include <algorithm>
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
    // A file system in memory, as the runtime folder of a desktop is, where the machine has one.
    QTemporaryDir m_folder{(QFileInfo(QStringLiteral("/dev/shm")).isWritable() ? QStringLiteral("/dev/shm") : QDir::tempPath())
                           + QStringLiteral("/bench_process_state-XXXXXX")};
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
BENCHMARK_CAPTURE(query, set, "TokenRefreshInProgress", true)->Name("query of a set flag/library");
BENCHMARK_CAPTURE(query, notSet, "AccessTokenQueryInProgress", false)->Name("query of a flag that is not set/library");

void setAndDelete(benchmark::State& state) {
    const TwoProcesses processes;
    const ProcessProperties flag = TwoProcesses::flag("AccessTokenQueryInProgress");
    for (auto _ : state) {
        benchmark::DoNotOptimize(processes.busy->setUnlessSetElsewhere(flag));
        processes.busy->deleteProperty(QStringLiteral("AccessTokenQueryInProgress"));
    }
}
BENCHMARK(setAndDelete)->Name("set and delete/library");

void lockAndCopy(benchmark::State& state) {
    QSharedMemory block(QStringLiteral("VqBenchSharedMemory"));
    if (!block.create(65536) && !block.attach()) {
        state.SkipWithError("no shared memory");
        return;
    }
    QByteArray copy(block.size(), Qt::Uninitialized);
    for (auto _ : state) {
        block.lock();
        std::copy_n(static_cast<const char*>(block.constData()), copy.size(), copy.data());
        block.unlock();
        benchmark::DoNotOptimize(copy.data());
    }
}
BENCHMARK(lockAndCopy)->Name("query of a set flag/lock and copy");
BENCHMARK(lockAndCopy)->Name("query of a flag that is not set/lock and copy");
BENCHMARK(lockAndCopy)->Name("set and delete/lock and copy");

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    constexpr double goal = 50;
    return runAgainstPeers(argc, argv, "library", goal);
}
