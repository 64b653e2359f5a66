#pragma once

#include <QString>

namespace Velquor::Util {

/// A time span for people: "850 ms", "5 s", "2 min 30 s", "1 h 1 min", "3 d 4 h". It shows the largest unit and, unless it is
/// zero, the next one. A negative span starts with "-".
[[nodiscard]] QString timeSpanText(qint64 milliseconds);

} // namespace Velquor::Util
