#include <VqWebServices/PersistentNetworkCookieJar.h>

namespace Velquor::WebServices {

PersistentNetworkCookieJar::PersistentNetworkCookieJar(QObject* parent)
    : QNetworkCookieJar(parent) {}

PersistentNetworkCookieJar::~PersistentNetworkCookieJar() = default;

QList<QNetworkCookie> PersistentNetworkCookieJar::GetAllCookies() const {
    return allCookies();
}

void PersistentNetworkCookieJar::SetAllCookies(const QList<QNetworkCookie>& cookies) {
    setAllCookies(cookies);
}

} // namespace Velquor::WebServices
