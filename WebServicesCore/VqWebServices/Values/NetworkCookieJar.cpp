#include <VqWebServices/NetworkCookieJar.h>

#include "Values/NetworkCookieJarImp.h"

namespace Velquor::WebServices {

NetworkCookieJar::NetworkCookieJar()
    : m_imp(new NetworkCookieJarImp) {}

NetworkCookieJar::NetworkCookieJar(const NetworkCookieJar& other)
    : m_imp(new NetworkCookieJarImp(*other.m_imp)) {
    // Qt's lists share their nodes until one of them changes. Cookies are returned by copy only, so no caller can see the
    // sharing.
}

NetworkCookieJar& NetworkCookieJar::operator=(const NetworkCookieJar& other) {
    if (this != &other)
        *m_imp = *other.m_imp;
    return *this;
}

NetworkCookieJar::~NetworkCookieJar() {
    delete m_imp;
}

bool NetworkCookieJar::AddCookie(const NetworkCookie& cookie) {
    m_imp->cookies.append(cookie);
    return true;
}

int NetworkCookieJar::GetCookieCount() const {
    return m_imp->cookies.size();
}

NetworkCookie NetworkCookieJar::GetCookie(int index) const {
    return m_imp->cookies.value(index);
}

void NetworkCookieJar::DeleteAll() {
    m_imp->cookies.clear();
}

} // namespace Velquor::WebServices
