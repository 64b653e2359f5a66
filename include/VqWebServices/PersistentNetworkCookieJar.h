#pragma once

#include <QList>
#include <QNetworkCookie>
#include <QNetworkCookieJar>
#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

/// The cookie jar of a network access manager whose cookies can be read and replaced as a whole, to keep them elsewhere.
///
/// Thread: that of its network access manager. Owner: its parent, usually that manager.
class VQWEBSERVICES_EXPORT PersistentNetworkCookieJar : public QNetworkCookieJar {
public:
    explicit PersistentNetworkCookieJar(QObject* parent = nullptr);
    ~PersistentNetworkCookieJar() override;

    QList<QNetworkCookie> GetAllCookies() const;
    void SetAllCookies(const QList<QNetworkCookie>& cookies);
};

} // namespace Velquor::WebServices
