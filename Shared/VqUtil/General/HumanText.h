#pragma once

#include <QString>

namespace Velquor::Util {

/// A time span for people: "850 ms", "5 s", "2 min 30 s", "1 h 1 min", "3 d 4 h". The two greatest units that are not zero;
/// a negative span starts with "-".
[[nodiscard]] QString timeSpanText(qint64 milliseconds);

/// A size for people: "1 byte", "2000 bytes" (up to 10 KiB), "12.5 KiB", "4.0 MiB". Negative sizes are "unknown".
[[nodiscard]] QString sizeText(qint64 bytes);

} // namespace Velquor::Util
