#pragma once

#include <QList>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

/// A cookie jar of a network access manager. All its cookies can be read and replaced at once, to store them elsewhere.
///
/// Thread: that of its network access manager. Owner: its parent, usually that manager. Errors: none.
class VQWEBSERVICES_EXPORT PersistentNetworkCookieJar : public QNetworkCookieJar {
public:
    /// Creates an empty jar. The parent, if any, deletes it.
    explicit PersistentNetworkCookieJar(QObject* parent = nullptr);
    ~PersistentNetworkCookieJar() override;

    /// Copies of all cookies, in no particular order.
    QList<QNetworkCookie> GetAllCookies() const;
    /// Replaces all cookies with these, without a check of their domains.
    void SetAllCookies(const QList<QNetworkCookie>& cookies);
};

} // namespace Velquor::WebServices
