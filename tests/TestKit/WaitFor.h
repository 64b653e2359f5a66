#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace Velquor::TestKit {

/// Waits in the event loop until a condition is true, which is checked every `lookMs`; returns its last value. Measures use it:
/// QTest::qWaitFor() sleeps between two checks, and a serving process would make the others wait for 10 ms. Thread: any.
template <typename Condition>
[[nodiscard]] bool waitFor(const Condition& condition, int timeoutMs, int lookMs = 10) {
    const QDeadlineTimer deadline(timeoutMs);
    QEventLoop loop;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &loop, [&] {
        if (condition() || deadline.hasExpired())
            loop.quit();
    });
    look.start(lookMs);
    if (!condition())
        loop.exec();
    return condition();
}

} // namespace Velquor::TestKit
