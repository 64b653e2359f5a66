#pragma once

#include <QByteArray>
#include <cstdio>

namespace Velquor::TestKit {

/// What the helper programs share. Thread: any.

/// Writes a line for the test that runs this program.
inline void say(const QByteArray& line) {
    std::fputs((line + '\n').constData(), stdout);
    std::fflush(stdout);
}

inline void waitForEndOfInput() {
    while (std::getchar() != EOF) {
    }
}

} // namespace Velquor::TestKit
