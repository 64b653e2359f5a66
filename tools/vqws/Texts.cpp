#include "Texts.h"

#include <QStringList>
#include <QUrl>
#include <algorithm>
#include <vector>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int shownCharacters = 12;
constexpr int leastTextWidth = 20;
// The longest text that the library returns is a signed address.
constexpr int longestText = 64 * 1024;

} // namespace

QString serverText(Server server) {
    switch (server) {
    case Production: return QStringLiteral("Production");
    case Staging: return QStringLiteral("Staging");
    case Development: return QStringLiteral("Development");
    default: return QStringLiteral("none");
    }
}

std::optional<Server> serverNamed(const QString& name) {
    for (const Server server : {Production, Staging, Development}) {
        if (serverText(server).compare(name, Qt::CaseInsensitive) == 0)
            return server;
    }
    return std::nullopt;
}

QDateTime dateOf(unsigned int seconds) {
    return seconds == 0 ? QDateTime() : QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

QString dateText(const QDateTime& date) {
    if (!date.isValid())
        return QStringLiteral("unknown");
    const qint64 seconds = QDateTime::currentDateTimeUtc().secsTo(date);
    return date.toUTC().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) + QStringLiteral(" UTC (")
           + (seconds >= 0 ? QStringLiteral("in %1").arg(spanText(seconds)) : QStringLiteral("%1 ago").arg(spanText(-seconds)))
           + QLatin1Char(')');
}

QJsonValue known(const QString& text) {
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonValue known(const QDateTime& date) {
    return known(date.toUTC().toString(Qt::ISODate));
}

QString spanText(qint64 seconds) {
    constexpr qint64 minute = 60, hour = 60 * minute, day = 24 * hour;
    if (seconds < 2 * minute)
        return QStringLiteral("%1 s").arg(seconds);
    if (seconds < 2 * hour)
        return QStringLiteral("%1 min").arg(seconds / minute);
    return seconds < 2 * day ? QStringLiteral("%1 h").arg(seconds / hour) : QStringLiteral("%1 days").arg(seconds / day);
}

QString shortKey(const QString& key) {
    return key.mid(key.lastIndexOf(QLatin1Char('-')) + 1).right(shownCharacters);
}

QString bufferText(const std::function<int(wchar_t*, int)>& read) {
    const int length = std::clamp(read(nullptr, 0), 0, longestText);
    std::vector<wchar_t> buffer(static_cast<size_t>(length) + 1);
    read(buffer.data(), length + 1);
    return QString::fromWCharArray(buffer.data());
}

QString takeText(wchar_t* text) {
    const std::unique_ptr<wchar_t[]> owned(text);
    return owned ? QString::fromWCharArray(owned.get()) : QString();
}

bool isWebAddress(const QString& text) {
    const QUrl url(text, QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty()
           && (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"));
}

QString wrapped(const QString& text, int width, int indent) {
    if (width == 0)
        return text;
    const int room = std::max(width - indent, leastTextWidth);
    QStringList lines(QString{});
    for (const QString& word : text.split(QLatin1Char(' '))) {
        const bool fits = lines.last().isEmpty() || lines.last().size() + 1 + word.size() <= room;
        if (!fits)
            lines += word;
        else
            lines.last() += lines.last().isEmpty() ? word : QLatin1Char(' ') + word;
    }
    return lines.join(QLatin1Char('\n') + QString(indent, QLatin1Char(' ')));
}

} // namespace Vqws
