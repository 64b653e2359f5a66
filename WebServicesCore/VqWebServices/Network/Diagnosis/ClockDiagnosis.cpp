#include "Network/Diagnosis/ClockDiagnosis.h"

#include "Network/Diagnosis/NetworkErrorText.h"

#include <QLocale>
#include <QNetworkReply>

namespace Velquor::WebServices::Internal {
namespace {

QString shownTime(const QDateTime& time) {
    return time.toString(QStringLiteral("yyyy-MM-dd hh:mm"));
}

QDateTime parsedServerTime(const QByteArray& date) {
    QDateTime time =
        QLocale::c().toDateTime(QString::fromLatin1(date.trimmed()), QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
    time.setTimeSpec(Qt::UTC);
    return time;
}

QString dstText(bool inEffect) {
    return inEffect ? QStringLiteral("In Effect") : QStringLiteral("Not in Effect");
}

QString daylightSavingMessage(const ClockFacts& facts) {
    const QString difference = facts.expectedDst
                                   ? QStringLiteral("DST should be in effect, but it is not in effect in the system")
                                   : QStringLiteral("DST should not be in effect, but it is in effect in the system");
    // clang-format off
    return QStringLiteral("DST (Daylight Saving Time) setting in the system is incorrect. %1. Server time (UTC): %2, System time: %3, Expected time zone: %4, System time zone: %5, System DST: %6")
        // clang-format on
        .arg(difference, shownTime(parsedServerTime(facts.serverDate)), shownTime(facts.nowLocal), facts.expectedZone,
             facts.systemZone, dstText(facts.systemDst));
}

QString timeMessage(const ClockFacts& facts) {
    const QDateTime serverTime = parsedServerTime(facts.serverDate);
    const QString serverText = shownTime(serverTime);
    const QString expectedText = serverTime.isValid() ? shownTime(serverTime.toTimeZone(facts.zone)) : QString();
    // clang-format off
    return QStringLiteral("System time or time zone setting in the system is incorrect. Server time (UTC): %1, Expected system time: %2 (UTC: %3), Actual system time: %4 (UTC: %5), System time zone: %6, System DST: %7")
        // clang-format on
        .arg(serverText, expectedText, serverText, shownTime(facts.nowLocal), shownTime(facts.nowUtc), facts.systemZone,
             dstText(facts.systemDst));
}

QString zoneText(const QString& abbreviation, const QString& offset) {
    return QStringLiteral("%1 (%2)").arg(abbreviation, offset);
}

} // namespace

bool isClockProblem(const OAuthProblem& problem) {
    const auto problemIs = [&problem](QLatin1String name) { return problem.problem.compare(name, Qt::CaseInsensitive) == 0; };
    if (problemIs(QLatin1String("message_expired")))
        return true;
    if (problemIs(QLatin1String("system_error")))
        return problem.additionalInfo == QLatin1String("timestamp_mismatch");
    return problemIs(QLatin1String("parameter_rejected")) && problem.parametersAbsent == QLatin1String("oauth_timestamp");
}

ClockProblem describeClockProblem(const ClockFacts& facts) {
    if (facts.expectedDst != facts.systemDst)
        return {ClockKind::WrongDaylightSaving, daylightSavingMessage(facts)};
    return {ClockKind::WrongTime, timeMessage(facts)};
}

ClockFacts currentClockFacts(const QByteArray& serverDate) {
    ClockFacts facts;
    facts.serverDate = serverDate;
    facts.nowUtc = QDateTime::currentDateTimeUtc();
    facts.nowLocal = facts.nowUtc.toLocalTime();
    facts.zone = QTimeZone::systemTimeZone();
    facts.expectedDst = facts.zone.isDaylightTime(facts.nowUtc);
    facts.systemDst = facts.nowLocal.isDaylightTime();
    facts.expectedZone =
        zoneText(facts.zone.abbreviation(facts.nowUtc), facts.zone.displayName(facts.nowUtc, QTimeZone::OffsetName));
    const QDateTime withOffset = facts.nowUtc.toOffsetFromUtc(facts.nowLocal.offsetFromUtc());
    facts.systemZone = zoneText(facts.nowLocal.timeZoneAbbreviation(), withOffset.timeZoneAbbreviation());
    return facts;
}

std::optional<ClockProblem> diagnoseClock(const QNetworkReply* reply) {
    if (!reply || (reply->error() == QNetworkReply::NoError && httpStatus(*reply) == 200))
        return {};
    if (!isClockProblem(oauthProblem(reply)))
        return {};
    return describeClockProblem(currentClockFacts(reply->rawHeader("Date")));
}

} // namespace Velquor::WebServices::Internal
