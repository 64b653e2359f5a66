#pragma once

#include <QtGlobal>
#include <vector>

namespace Velquor::StdUtil {

/// A schedule for retries after a failure. Each entry gives an interval and the period for which it is used.
///
/// A plain value for modules that are built with the library's own compiler. Thread: any, one at a time for each object.
struct RetrySchedule {
    /// Retries at this interval, for this period. The interval of the last entry stays in use until the maximum period ends.
    struct Entry {
        qint64 period = 0;   ///< Milliseconds for which this entry is used; not negative.
        qint64 interval = 0; ///< Milliseconds between two tries; at least 1, and short enough for a timer.

        /// Entries are equal when their period and interval are.
        bool operator==(const Entry& other) const { return period == other.period && interval == other.interval; }
    };

    /// Milliseconds after which the retries end; 0: they do not end.
    qint64 maximumPeriod = 0;
    /// The entries in their order. Without entries there are no retries.
    std::vector<Entry> entries;

    /** @{ */
    /// Schedules are equal when they have the same end and the same entries in the same order.
    bool operator==(const RetrySchedule& other) const { return maximumPeriod == other.maximumPeriod && entries == other.entries; }
    bool operator!=(const RetrySchedule& other) const { return !(*this == other); }
    /** @} */
};

} // namespace Velquor::StdUtil
