#pragma once

#include <QJsonObject>
#include <QList>
#include <VqWebServices/NetworkCookieJar.h>

namespace Velquor::WebServices {

/// The data of a `NetworkCookieJar`. Thread: as its owner. Owner: one `NetworkCookieJar`.
class NetworkCookieJarImp {
public:
    static NetworkCookieJarImp& of(NetworkCookieJar& jar) { return *jar.m_imp; }
    static const NetworkCookieJarImp& of(const NetworkCookieJar& jar) { return *jar.m_imp; }

    /// One key "Cookies" with the cookies in the jar's order.
    [[nodiscard]] QJsonObject toJson() const;
    /// Appends the cookies of the object. False, leaving the jar unchanged, when "Cookies" is not an array, a member is not a
    /// cookie object, or there are more than 5000 members.
    [[nodiscard]] bool fromJson(const QJsonObject& json);

    QList<NetworkCookie> cookies;
};

} // namespace Velquor::WebServices
