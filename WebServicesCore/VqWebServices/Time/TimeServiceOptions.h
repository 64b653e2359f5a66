#pragma once

#include <QtGlobal>

namespace Velquor::OAuth {

/// How the time service behaves; all times in milliseconds.
struct TimeServiceOptions {
    bool enabled = true;
    qint64 offsetLimit = 24LL * 3600 * 1000;  ///< a greater offset is logged and not applied
    qint64 updatePeriod = 24LL * 3600 * 1000; ///< how long a measured offset is valid
    qint64 changeThreshold = 5000;            ///< the difference of clock and ticks from which the clock counts as changed
    int queryTimeout = 30000;                 ///< for the whole of one query
};

} // namespace Velquor::OAuth
