#include "Time/ServerTime.h"

#include <QDateTime>
#include <QLocale>
#include <QRegularExpression>

namespace Velquor::OAuth {

namespace {

constexpr int longestTime = 64;
constexpr int shownHeader = 256;
constexpr qint64 earliest = 1577836800; // 2020-01-01
constexpr qint64 latest = 4102444799;   // 2099-12-31

std::optional<qint64> plausible(qint64 seconds) {
    return seconds >= earliest && seconds <= latest ? std::optional<qint64>(seconds) : std::nullopt;
}

// Keeps the text after a NUL, so that such a text is refused.
QString wholeText(const QByteArray& text) {
    return QString::fromLatin1(text.constData(), text.size());
}

QString shownTime(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC).toString(Qt::ISODate);
}

std::optional<qint64> readDateHeader(const QByteArray& header, Log::ILogger& logger) {
    const std::optional<qint64> time = timeInDateHeader(header);
    if (time)
        logger.debug(QStringLiteral("Successfully parsed date header: %1").arg(shownTime(*time)));
    else if (header.isEmpty())
        logger.warning(QStringLiteral("Failed to parse date header. Date header not returned by server."));
    else
        logger.warning(QStringLiteral("Failed to parse date header: %1").arg(wholeText(header.left(shownHeader))));
    return time;
}

} // namespace

std::optional<qint64> unixTimeInBody(const QByteArray& body) {
    const QByteArray text = body.trimmed();
    bool isNumber = !text.isEmpty() && text.size() <= longestTime;
    for (const char letter : text)
        isNumber = isNumber && letter >= '0' && letter <= '9';
    const qint64 seconds = isNumber ? text.toLongLong(&isNumber) : 0;
    return isNumber ? plausible(seconds) : std::nullopt;
}

std::optional<qint64> isoTimeInBody(const QByteArray& body) {
    static const QRegularExpression form(QRegularExpression::anchoredPattern(
        QStringLiteral("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}(\\.[0-9]{1,9})?(Z|[+-][0-9]{2}:[0-9]{2})")));
    const QByteArray text = body.trimmed();
    if (text.size() > longestTime || !form.match(wholeText(text)).hasMatch())
        return std::nullopt;
    // The framework refuses a leap second (":60"); the next query will succeed.
    const QDateTime time = QDateTime::fromString(wholeText(text), Qt::ISODate);
    return time.isValid() ? plausible(time.toSecsSinceEpoch()) : std::nullopt;
}

std::optional<qint64> timeInDateHeader(const QByteArray& header) {
    const QString form = QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'");
    const QString text = wholeText(header.trimmed());
    if (text.size() > longestTime)
        return std::nullopt;
    QDateTime time = QLocale::c().toDateTime(text, form);
    time.setTimeSpec(Qt::UTC);
    // The framework accepts a wrong weekday and moves the date, so the result is compared with the text.
    if (!time.isValid() || QLocale::c().toString(time, form) != text)
        return std::nullopt;
    return plausible(time.toSecsSinceEpoch());
}

std::optional<qint64> readServerTime(const QByteArray& body, const QByteArray& dateHeader, Log::ILogger& logger) {
    if (const std::optional<qint64> time = unixTimeInBody(body)) {
        logger.debug(QStringLiteral("Successfully parsed unix time in body: %1").arg(shownTime(*time)));
        return time;
    }
    if (const std::optional<qint64> time = isoTimeInBody(body)) {
        logger.debug(QStringLiteral("Successfully parsed ISO date in body: %1").arg(shownTime(*time)));
        return time;
    }
    if (body.trimmed().isEmpty() && dateHeader.isEmpty()) {
        logger.warning(QStringLiteral("Server did not return date body or date header"));
        return std::nullopt;
    }
    logger.debug(QStringLiteral("Failed to parse response body. Will try to use date header."));
    return readDateHeader(dateHeader, logger);
}

} // namespace Velquor::OAuth
