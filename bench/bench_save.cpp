// Measures a save of the login state with 20 products under the cross-process lock. It is compared with the least that any safe
// save of the same document must do.

#include "LoginProcess.h"
#include "RatioReporter.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

namespace {

using Velquor::Bench::LoginProcess;

constexpr double goal = 1.2;

void save(benchmark::State& state, int own, bool (LoginProcess::*saving)()) {
    LoginProcess process(20, own);
    for (auto _ : state) {
        if (!(process.*saving)())
            return state.SkipWithError("not saved");
    }
}
BENCHMARK_CAPTURE(save, library, 1, &LoginProcess::save)
    ->Name("one own product of 20/library")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(save, plain, 1, &LoginProcess::saveAtLeast)
    ->Name("one own product of 20/plain")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(save, library, 20, &LoginProcess::save)
    ->Name("20 own products of 20/library")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(save, plain, 20, &LoginProcess::saveAtLeast)
    ->Name("20 own products of 20/plain")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    return runAgainstPeers(argc, argv, "library", goal);
}
