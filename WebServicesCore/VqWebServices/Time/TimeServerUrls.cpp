#include "Time/TimeServerUrls.h"

#include <QRegularExpression>

namespace Velquor::OAuth {

namespace {

/// A bound, since a round of quick retries tries all of them.
constexpr int maximalUrls = 16;

} // namespace

bool isTimeServerUrl(const QUrl& url) {
    const QString scheme = url.scheme();
    return url.isValid() && !url.host().isEmpty() && (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

QUrl redirectTarget(const QUrl& asked, const QByteArray& location) {
    if (location.trimmed().isEmpty())
        return QUrl();
    const QUrl target = asked.resolved(QUrl::fromEncoded(location.trimmed(), QUrl::StrictMode));
    return isTimeServerUrl(target) && target.userInfo().isEmpty() ? target : QUrl();
}

TimeServerUrls::TimeServerUrls(const QString& text) {
    const QStringList parts = text.split(QRegularExpression(QStringLiteral("\\s+")), Qt::SkipEmptyParts);
    for (const QString& part : parts.mid(0, maximalUrls))
        m_urls += QUrl(part, QUrl::StrictMode);
}

void TimeServerUrls::replaceCurrent(const QUrl& url) {
    if (m_current < m_urls.size())
        m_urls[m_current] = url;
}

void TimeServerUrls::next() {
    if (m_current < m_urls.size() && !isTimeServerUrl(m_urls.at(m_current)))
        m_urls.removeAt(m_current);
    else
        ++m_current;
    if (m_current >= m_urls.size())
        m_current = 0;
}

} // namespace Velquor::OAuth
