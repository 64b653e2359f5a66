#include "Tokens/OAuth2/RetrySchedules.h"

#include "Values/OAuth2TokenSpecImp.h"
#include "VqLog/LoggerWrapper.h"
#include "VqUtil/General/HumanText.h"

#include <QMutexLocker>
#include <QStringList>
#include <algorithm>
#include <limits>

namespace Velquor::WebServices::Internal {

namespace {

constexpr size_t maximumEntries = 1000;
constexpr qint64 longestInterval = std::numeric_limits<int>::max();

} // namespace

RetrySchedule defaultRetrySchedule() {
    return {
        172800000,
        {{300000, 60000}, {600000, 120000}, {1200000, 240000}, {4800000, 960000}, {43200000, 1800000}, {122400000, 15360000}}};
}

QString retryScheduleText(const RetrySchedule& schedule) {
    QStringList lines;
    for (const RetrySchedule::Entry& entry : schedule.entries)
        lines += QStringLiteral("Retry for a period of %1 at interval %2")
                     .arg(Util::timeSpanText(entry.period), Util::timeSpanText(entry.interval));
    lines += QStringLiteral("Maximum retry period: %1")
                 .arg(schedule.maximumPeriod == 0 ? QStringLiteral("Indefinite") : Util::timeSpanText(schedule.maximumPeriod));
    return lines.join(QLatin1Char('\n'));
}

bool isUsableSchedule(const RetrySchedule& schedule) {
    return schedule.maximumPeriod >= 0 && schedule.entries.size() <= maximumEntries
           && std::all_of(schedule.entries.begin(), schedule.entries.end(), [](const RetrySchedule::Entry& entry) {
                  return entry.period >= 0 && entry.interval >= 1 && entry.interval <= longestInterval;
              });
}

RetrySchedules& RetrySchedules::instance() {
    // Never destroyed: token threads of a host that forgot to uninitialize may still ask.
    static auto* const schedules = new RetrySchedules;
    return *schedules;
}

RetrySchedules::RetrySchedules()
    : m_logger(Log::makeLogger(QStringLiteral("VqWebServices.OAuth2.Refresher"))) {}

bool RetrySchedules::accept(const RetrySchedule& schedule) const {
    const bool usable = isUsableSchedule(schedule);
    if (usable)
        m_logger->information(QStringLiteral("OAuth2 token refresh retry schedule set:\n%1").arg(retryScheduleText(schedule)));
    else
        m_logger->error(QStringLiteral(
            "Failed to set OAuth2 token refresh retry schedule. A period is negative, an interval is below 1 ms or too long, or there are too many entries."));
    return usable;
}

QString RetrySchedules::nameOf(const QString& productKey, const OAuth2TokenSpec& spec) {
    return productKey + QLatin1Char('\n') + OAuth2TokenSpecImp::of(spec).toText().toLower();
}

bool RetrySchedules::set(const RetrySchedule& schedule) {
    if (!accept(schedule))
        return false;
    const QMutexLocker lock(&m_mutex);
    m_schedules.clear();
    m_forAll = schedule;
    return true;
}

bool RetrySchedules::set(const QString& productKey, const OAuth2TokenSpec& spec, const RetrySchedule& schedule) {
    if (productKey.isEmpty() || !accept(schedule))
        return false;
    const QMutexLocker lock(&m_mutex);
    m_schedules.insert(nameOf(productKey, spec), schedule);
    return true;
}

std::optional<RetrySchedule> RetrySchedules::find(const QString& productKey, const OAuth2TokenSpec& spec) const {
    const QMutexLocker lock(&m_mutex);
    const auto found = m_schedules.constFind(nameOf(productKey, spec));
    return found == m_schedules.constEnd() ? m_forAll : *found;
}

RetrySchedule RetrySchedules::inForce(const QString& productKey, const OAuth2TokenSpec& spec) const {
    const std::optional<RetrySchedule> found = find(productKey, spec);
    return found ? *found : defaultRetrySchedule();
}

void RetrySchedules::clear() {
    const QMutexLocker lock(&m_mutex);
    m_schedules.clear();
    m_forAll.reset();
}

} // namespace Velquor::WebServices::Internal
