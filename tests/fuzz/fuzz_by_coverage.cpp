// The entry points of libFuzzer. The variable VQ_FUZZ_TARGET names the target.

#include "FuzzTargets.h"

#include <QString>
#include <algorithm>
#include <cstddef>
#include <cstdint>

using namespace Velquor::Tests;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzTarget* const target = [] {
        const QByteArray name = qgetenv("VQ_FUZZ_TARGET");
        const QVector<FuzzTarget>& all = fuzzTargets();
        const auto found = std::find_if(all.begin(), all.end(), [&](const FuzzTarget& one) { return name == one.name; });
        requireRule(found != all.end(), "VQ_FUZZ_TARGET names a target");
        return &*found;
    }();
    target->run(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    return 0;
}
