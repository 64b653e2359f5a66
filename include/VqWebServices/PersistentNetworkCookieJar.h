#pragma once

#include <QList>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

/// The cookie jar of a network access manager whose cookies can be read and replaced as a whole, to keep them elsewhere.
///
/// Thread: that of its network access manager. Owner: its parent, usually that manager. Errors: none.
class VQWEBSERVICES_EXPORT PersistentNetworkCookieJar : public QNetworkCookieJar {
public:
    /// An empty jar; the parent, when there is one, deletes it.
    explicit PersistentNetworkCookieJar(QObject* parent = nullptr);
    ~PersistentNetworkCookieJar() override;

    /// Copies of all cookies, in no order that is promised.
    QList<QNetworkCookie> GetAllCookies() const;
    /// Puts these cookies in the place of all others, without a look at their domains.
    void SetAllCookies(const QList<QNetworkCookie>& cookies);
};

} // namespace Velquor::WebServices
