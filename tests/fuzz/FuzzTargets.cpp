#include "FuzzTargets.h"

#include <cstdio>
#include <cstdlib>

namespace Velquor::Tests {

const QVector<FuzzTarget>& fuzzTargets() {
    static const QVector<FuzzTarget> targets{
        {"login-states", &readLoginStates},
        {"event", &readEvent},
        {"message", &readMessage},
        {"frames", &readFrames},
        {"block", &readBlock},
        {"cache-file", &readCacheFile},
        {"url-file", &readUrlFile},
        {"json-values", &readJsonValues},
        {"token-replies", &readTokenReplies},
        {"body-for-log", &readBodyForLog},
        {"sign", &signTexts},
    };
    return targets;
}

void requireRule(bool holds, const char* rule) {
    if (holds)
        return;
    std::fprintf(stderr, "Broken: %s\n", rule);
    std::abort();
}

} // namespace Velquor::Tests
