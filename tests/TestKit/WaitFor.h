#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace Velquor::TestKit {

/// Waits in the event loop until a condition is true, at which it looks each `lookMs`; what it was at the end. QTest::qWaitFor()
/// sleeps between two looks, and a process that serves others meanwhile makes them wait for 10 ms: times are taken with this one.
/// Thread: any.
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
