// Measures how long a new process takes to read the login state file, by the number of products in it. It is compared with the
// parsing of the same file.

#include "LoginProcess.h"
#include "RatioReporter.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

namespace {

using Velquor::Bench::LoginProcess;

// For one product. The check of the machine takes one decryption by the user's key, as long for any number of products.
constexpr double goal = 6.5;

void restore(benchmark::State& state, int stored, bool (LoginProcess::*reading)()) {
    LoginProcess process(stored, 0);
    if (process.restore() && process.productCount() != stored)
        return state.SkipWithError("not all products were read");
    for (auto _ : state) {
        if (!(process.*reading)())
            return state.SkipWithError("not read");
    }
}

void add(int stored) {
    const std::string group = "restore " + std::to_string(stored);
    benchmark::RegisterBenchmark((group + "/library").c_str(), restore, stored, &LoginProcess::restore)
        ->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark((group + "/plain").c_str(), restore, stored, &LoginProcess::restoreAtLeast)
        ->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    for (const int stored : {1, 100, 500, 1000})
        add(stored);
    return runAgainstPeers(argc, argv, "library", goal);
}
