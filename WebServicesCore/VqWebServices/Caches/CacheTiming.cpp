#include "Caches/CacheTiming.h"

#include <QLocale>
#include <algorithm>

namespace Velquor::WebServices::Internal::CacheTiming {

namespace {

constexpr int patientFailures = 5;
constexpr qint64 firstRetrySeconds = 120;
// A date in the future by less than this is accepted: the clock was set back a little.
constexpr qint64 toleratedFutureMs = 3600LL * 1000;
constexpr qint64 msPerSecond = 1000;
const auto httpDateForm = QStringLiteral("ddd, dd MMM yyyy HH:mm:ss 'GMT'");

} // namespace

Decision decide(const Facts& facts, const QDateTime& now) {
    if (!facts.canUpdate)
        return {Answer::CannotUpdate, 0, 0};
    if (!facts.isAvailable)
        return {Answer::NoValue, 0, 0};
    if (facts.updateSeconds <= 0)
        return {Answer::NeverExpires, 0, 0};
    if (!facts.updateDate.isValid() || now.msecsTo(facts.updateDate) > toleratedFutureMs)
        return {Answer::BadDate, 0, 0};
    const qint64 msToExpiry = now.msecsTo(facts.updateDate.addSecs(facts.updateSeconds));
    if (msToExpiry <= 0)
        return {Answer::Expired, 0, 0};
    return {Answer::NotExpired, msToExpiry, std::min(msToExpiry, facts.checkSeconds * msPerSecond)};
}

qint64 checkSeconds(qint64 updateSeconds) {
    return updateSeconds <= 0 ? longestCheckSeconds : std::min(updateSeconds, longestCheckSeconds);
}

qint64 retryDelayMs(int earlierFailures, qint64 checkSeconds) {
    return (earlierFailures < patientFailures ? std::min(checkSeconds, firstRetrySeconds) : checkSeconds) * msPerSecond;
}

bool isWorthRetrying(const CacheFailure& failure) {
    return failure.httpStatus == 0 || failure.httpStatus >= 500 || failure.isReplyDamaged || failure.clockKind != ClockKind::None;
}

QDateTime fromHttpDate(const QByteArray& text) {
    QDateTime date = QLocale::c().toDateTime(QString::fromLatin1(text), httpDateForm);
    date.setTimeSpec(Qt::UTC);
    return date;
}

QByteArray toHttpDate(const QDateTime& date) {
    return date.isValid() ? QLocale::c().toString(date.toUTC(), httpDateForm).toLatin1() : QByteArray();
}

} // namespace Velquor::WebServices::Internal::CacheTiming
