#pragma once

#include <QString>

namespace Velquor::Util {

/// A time span for people: "850 ms", "5 s", "2 min 30 s", "1 h 1 min", "3 d 4 h". The two greatest units that are not zero;
/// a negative span starts with "-".
[[nodiscard]] QString timeSpanText(qint64 milliseconds);

} // namespace Velquor::Util
