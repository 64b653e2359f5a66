#include "VqUtil/General/HumanText.h"

#include <QStringList>
#include <limits>

namespace Velquor::Util {

namespace {

struct Unit {
    qint64 milliseconds;
    const char* name;
};

constexpr Unit units[] = {{86400000, "d"}, {3600000, "h"}, {60000, "min"}, {1000, "s"}};

} // namespace

QString timeSpanText(qint64 milliseconds) {
    if (milliseconds < 0) {
        const qint64 positive =
            milliseconds == std::numeric_limits<qint64>::min() ? std::numeric_limits<qint64>::max() : -milliseconds;
        return QLatin1Char('-') + timeSpanText(positive);
    }
    if (milliseconds < 1000)
        return QStringLiteral("%1 ms").arg(milliseconds);
    QStringList parts;
    for (const Unit& unit : units) {
        const qint64 count = milliseconds / unit.milliseconds;
        milliseconds %= unit.milliseconds;
        // Only adjacent units: "1 d 5 s" is more precise than a reader needs.
        if (count > 0)
            parts += QStringLiteral("%1 %2").arg(count).arg(QLatin1String(unit.name));
        if (parts.size() == 2 || (parts.size() == 1 && count == 0))
            break;
    }
    return parts.join(QLatin1Char(' '));
}

} // namespace Velquor::Util
