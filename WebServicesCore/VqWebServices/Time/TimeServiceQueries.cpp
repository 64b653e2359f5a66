#include "Time/TimeService.h"

#include "Network/Diagnosis/DisplayUrl.h"
#include "Time/ServerTime.h"
#include "VqUtil/General/HumanText.h"

#include <QDateTime>

namespace Velquor::OAuth {

namespace {

constexpr int shownBody = 256;

bool isAnswer(const TimeAnswer& answer) {
    const int status = answer.status;
    return answer.isWhole && (status == 200 || status == 301 || status == 302 || status == 307);
}

} // namespace

void TimeService::query() {
    if (m_urls.isEmpty()) {
        m_logger->error(QStringLiteral("Failed to get time from server. Time server urls list is empty."));
        StopServiceSlot();
        return;
    }
    const QUrl url = m_urls.current();
    m_logger->information(QStringLiteral("Getting time from server %1").arg(WebServices::Internal::displayUrl(url)));
    restartTimer();
    m_query = std::make_unique<TimeQuery>(url, m_parts.options.queryTimeout, m_logger, m_parts.networkLogger);
    connect(m_query.get(), &TimeQuery::Finished, this, &TimeService::queryFinished);
    m_query->start();
}

void TimeService::queryFinished(const TimeAnswer& answer) {
    const QUrl url = m_query->url();
    const QString shownUrl = WebServices::Internal::displayUrl(url);
    m_query.release()->deleteLater();
    if (!answer.hasReply) {
        m_logger->error(QStringLiteral("Failed to get time from server %1. Network reply is null.").arg(shownUrl));
        return fail();
    }
    m_logger->debug(QStringLiteral("Time query finished. Server response: Http code: %1, Body: %2, Date header: %3")
                        .arg(QString::number(answer.status), QString::fromUtf8(answer.body.left(shownBody)),
                             QString::fromLatin1(answer.dateHeader.left(shownBody))));
    if (!isAnswer(answer)) {
        m_logger->error(QStringLiteral("Failed to get time from server %1. %2. %3. %4")
                            .arg(shownUrl, answer.message, answer.httpText, answer.networkText));
        return fail();
    }
    if (!followRedirect(url, answer))
        return fail();
    if (const std::optional<qint64> seconds = readServerTime(answer.body, answer.dateHeader, *m_logger))
        return succeed(url, *seconds);
    m_logger->error(QStringLiteral("Failed to parse date body and date header returned by server url %2").arg(shownUrl));
    fail();
}

bool TimeService::followRedirect(const QUrl& url, const TimeAnswer& answer) {
    if (answer.status != 301)
        return true;
    const QUrl target = redirectTarget(url, answer.location);
    if (!target.isValid()) {
        m_logger->error(QStringLiteral("Failed to get time from server %1. %2. %3. %4")
                            .arg(WebServices::Internal::displayUrl(url),
                                 QStringLiteral("The redirected url is not a valid http or https url"), answer.httpText,
                                 answer.networkText));
        return false;
    }
    m_logger->information(QStringLiteral("Replacing time service url %1 to redirected url %2")
                              .arg(WebServices::Internal::displayUrl(url), WebServices::Internal::displayUrl(target)));
    m_urls.replaceCurrent(target);
    return true;
}

void TimeService::succeed(const QUrl& url, qint64 seconds) {
    m_logger->information(
        QStringLiteral("Time queried successfully from server %1: %2")
            .arg(WebServices::Internal::displayUrl(url), QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate)));
    const ClockReading now = m_parts.source->read();
    m_correction->setMeasurement({seconds * 1000, now});
    m_schedule.succeeded(now);
    restartTimer();
}

void TimeService::fail() {
    m_urls.next();
    if (m_urls.isEmpty()) {
        m_logger->error(QStringLiteral("No more server urls to try. Stopping time service"));
        StopServiceSlot();
        return;
    }
    const qint64 wait = m_schedule.failed(m_parts.source->read(), m_urls.size());
    m_logger->information(QStringLiteral("Will retry next server url in %1").arg(Util::timeSpanText(wait)));
    restartTimer();
}

} // namespace Velquor::OAuth
