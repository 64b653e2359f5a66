#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

namespace Velquor::OAuth {

/// Whether a URL can be that of a time server: http or https, with a host.
[[nodiscard]] bool isTimeServerUrl(const QUrl& url);

/// The target of a permanent redirect of the queried URL; an invalid URL when it cannot be a time server.
[[nodiscard]] QUrl redirectTarget(const QUrl& asked, const QByteArray& location);

/// The time servers, tried one after the other. Thread: its owner's. Owner: the worker. Errors: none.
class TimeServerUrls {
public:
    TimeServerUrls() = default;
    /// The text is a list of URLs separated by blanks.
    explicit TimeServerUrls(const QString& text);

    [[nodiscard]] bool isEmpty() const { return m_urls.isEmpty(); }
    [[nodiscard]] int size() const { return m_urls.size(); }
    /// The one to try now; an invalid URL when the list is empty.
    [[nodiscard]] QUrl current() const { return m_urls.value(m_current); }

    void replaceCurrent(const QUrl& url);
    /// Goes on to the next one, and from the last to the first. A URL that cannot be queried is removed.
    void next();

private:
    QList<QUrl> m_urls;
    int m_current = 0;
};

} // namespace Velquor::OAuth
