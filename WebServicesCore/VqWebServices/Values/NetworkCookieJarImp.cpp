#include "Values/NetworkCookieJarImp.h"

#include "Values/NetworkCookieImp.h"

#include <QJsonArray>

namespace Velquor::WebServices {

namespace {
const auto cookiesKey = QStringLiteral("Cookies");
constexpr int maximumCookies = 5000;
} // namespace

QJsonObject NetworkCookieJarImp::toJson() const {
    QJsonArray array;
    for (const NetworkCookie& cookie : cookies)
        array.append(NetworkCookieImp::of(cookie).toJson());
    return {{cookiesKey, array}};
}

bool NetworkCookieJarImp::fromJson(const QJsonObject& json) {
    const QJsonValue value = json.value(cookiesKey);
    const QJsonArray array = value.toArray();
    if (!value.isArray() || array.size() > maximumCookies)
        return false;
    QList<NetworkCookie> read;
    for (const QJsonValue& element : array) {
        NetworkCookie cookie;
        if (!NetworkCookieImp::of(cookie).fromJson(element.toObject()))
            return false;
        read.append(cookie);
    }
    cookies += read;
    return true;
}

} // namespace Velquor::WebServices
