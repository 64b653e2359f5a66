#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

namespace Velquor::OAuth {

/// Whether a time server can be asked at a URL: http or https, with a host.
[[nodiscard]] bool isTimeServerUrl(const QUrl& url);

/// Where a permanent redirect leads, given the URL that was asked; an invalid URL when no time server can be asked there.
[[nodiscard]] QUrl redirectTarget(const QUrl& asked, const QByteArray& location);

/// The time servers, tried in turn. Thread: that of its owner. Owner: the worker. Errors: none.
class TimeServerUrls {
public:
    TimeServerUrls() = default;
    /// The text is a list of URLs with blanks between them.
    explicit TimeServerUrls(const QString& text);

    [[nodiscard]] bool isEmpty() const { return m_urls.isEmpty(); }
    [[nodiscard]] int size() const { return m_urls.size(); }
    /// The one whose turn it is; an invalid URL when the list is empty.
    [[nodiscard]] QUrl current() const { return m_urls.value(m_current); }

    void replaceCurrent(const QUrl& url);
    /// Goes on to the next one, and to the first after the last. One that can never be asked leaves the list.
    void next();

private:
    QList<QUrl> m_urls;
    int m_current = 0;
};

} // namespace Velquor::OAuth
