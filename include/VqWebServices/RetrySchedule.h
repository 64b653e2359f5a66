#pragma once

#include <QtGlobal>
#include <vector>

namespace Velquor::StdUtil {

/// When to try again what has failed: for a while at one interval, then for a while at the next, and so on.
///
/// A plain value for modules that are built with the library's own compiler. Thread: any, one at a time for each object.
struct RetrySchedule {
    /// For so many milliseconds, try again after each so many. The interval of the last entry stays until the maximum period
    /// ends.
    struct Entry {
        qint64 period = 0;   ///< Milliseconds that this entry is in force; not negative.
        qint64 interval = 0; ///< Milliseconds between two tries; at least 1, and short enough for a timer.

        /// The same milliseconds.
        bool operator==(const Entry& other) const { return period == other.period && interval == other.interval; }
    };

    /// Milliseconds after which nothing is tried any more; 0: there is no end.
    qint64 maximumPeriod = 0;
    /// None: nothing is tried again.
    std::vector<Entry> entries;

    /** @{ */
    /// Schedules are equal when they have the same end and the same entries in the same order.
    bool operator==(const RetrySchedule& other) const { return maximumPeriod == other.maximumPeriod && entries == other.entries; }
    bool operator!=(const RetrySchedule& other) const { return !(*this == other); }
    /** @} */
};

} // namespace Velquor::StdUtil
