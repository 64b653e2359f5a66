#pragma once

#include "VqLog/ILogger.h"

#include <QMap>
#include <QMutex>
#include <QString>
#include <VqWebServices/OAuth2TokenSpec.h>
#include <VqWebServices/RetrySchedule.h>
#include <memory>
#include <optional>

namespace Velquor::WebServices::Internal {

using StdUtil::RetrySchedule;

/// The schedule when none was set: 48 hours, at increasing intervals.
[[nodiscard]] RetrySchedule defaultRetrySchedule();

/// For the log: one line for each entry and one for the maximum period.
[[nodiscard]] QString retryScheduleText(const RetrySchedule& schedule);

/// No negative period, every interval from 1 ms to the longest of a timer, and at most 1,000 entries.
[[nodiscard]] bool isUsableSchedule(const RetrySchedule& schedule);

/// The retry schedules of this process for OAuth2 tokens. The schedule of a product's token wins over the one for all tokens, and
/// that over the default. They outlive the sessions and apply to later ones too.
///
/// Thread: any. Owner: the process. Errors: a schedule that cannot be used is refused, with one log line.
class RetrySchedules {
public:
    static RetrySchedules& instance();

    /// For all tokens of all products; replaces every schedule set before.
    bool set(const RetrySchedule& schedule);
    bool set(const QString& productKey, const OAuth2TokenSpec& spec, const RetrySchedule& schedule);
    /// The one that was set for the token; nothing when the default is to be used.
    [[nodiscard]] std::optional<RetrySchedule> find(const QString& productKey, const OAuth2TokenSpec& spec) const;
    /// The one that was set for the token, or the default.
    [[nodiscard]] RetrySchedule inForce(const QString& productKey, const OAuth2TokenSpec& spec) const;
    /// Back to the default for all.
    void clear();

private:
    RetrySchedules();
    bool accept(const RetrySchedule& schedule) const;
    [[nodiscard]] static QString nameOf(const QString& productKey, const OAuth2TokenSpec& spec);

    const std::shared_ptr<Log::ILogger> m_logger;
    mutable QMutex m_mutex;
    std::optional<RetrySchedule> m_forAll;
    QMap<QString, RetrySchedule> m_schedules;
};

} // namespace Velquor::WebServices::Internal
