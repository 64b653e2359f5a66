#pragma once

#include <QtGlobal>

namespace Velquor::OAuth {

/// How the time service behaves; all times in milliseconds.
struct TimeServiceOptions {
    bool enabled = true;
    qint64 offsetLimit = 24 * 3600 * 1000;  ///< a greater offset is told, and not applied
    qint64 updatePeriod = 24 * 3600 * 1000; ///< so long a measured offset is good
    qint64 changeThreshold = 5000;          ///< clock and ticks may drift apart so far before the clock counts as changed
    int queryTimeout = 30000;               ///< for the whole of one query
};

} // namespace Velquor::OAuth
