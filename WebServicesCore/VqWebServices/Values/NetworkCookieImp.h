#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <VqWebServices/NetworkCookie.h>

namespace Velquor::WebServices {

/// The data of a `NetworkCookie`. Thread: as its owner. Owner: one `NetworkCookie`.
class NetworkCookieImp {
public:
    static NetworkCookieImp& of(NetworkCookie& cookie) { return *cookie.m_imp; }
    static const NetworkCookieImp& of(const NetworkCookie& cookie) { return *cookie.m_imp; }

    [[nodiscard]] QJsonObject toJson() const;
    /// False for an empty object, which leaves this cookie unchanged; missing keys read as empty, false and 0.
    [[nodiscard]] bool fromJson(const QJsonObject& json);

    QByteArray name;
    QByteArray value;
    bool secure = false;
    bool httpOnly = false;
    qint64 expiryDate = 0;
    QString domain;
    QString path;
};

} // namespace Velquor::WebServices
