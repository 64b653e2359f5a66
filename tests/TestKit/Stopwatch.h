#pragma once

#include <QElapsedTimer>

namespace Velquor::TestKit {

/// A timer that runs from its construction. Thread: any.
class Stopwatch : public QElapsedTimer {
public:
    Stopwatch() { start(); }
};

} // namespace Velquor::TestKit
