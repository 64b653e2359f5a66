#include <VqWebServices/NetworkCookie.h>

#include "Values/CallerText.h"
#include "Values/NetworkCookieImp.h"

namespace Velquor::WebServices {

using namespace Internal;

NetworkCookie::NetworkCookie()
    : m_imp(new NetworkCookieImp) {}

NetworkCookie::NetworkCookie(const NetworkCookie& other)
    : m_imp(new NetworkCookieImp(*other.m_imp)) {}

NetworkCookie& NetworkCookie::operator=(const NetworkCookie& other) {
    if (this != &other)
        *m_imp = *other.m_imp;
    return *this;
}

NetworkCookie::~NetworkCookie() {
    delete m_imp;
}

void NetworkCookie::SetName(const char* name) {
    takeBytes("SetName", name, m_imp->name);
}

int NetworkCookie::GetName(char* buffer, int size) const {
    return copyBytes(m_imp->name, buffer, size);
}

void NetworkCookie::SetValue(const char* value) {
    takeBytes("SetValue", value, m_imp->value);
}

int NetworkCookie::GetValue(char* buffer, int size) const {
    return copyBytes(m_imp->value, buffer, size);
}

void NetworkCookie::SetSecure(bool secure) {
    m_imp->secure = secure;
}

bool NetworkCookie::IsSecure() const {
    return m_imp->secure;
}

void NetworkCookie::SetHttpOnly(bool httpOnly) {
    m_imp->httpOnly = httpOnly;
}

bool NetworkCookie::IsHttpOnly() const {
    return m_imp->httpOnly;
}

void NetworkCookie::SetExpiryDate(long long seconds) {
    m_imp->expiryDate = seconds;
}

long long NetworkCookie::GetExpiryDate() const {
    return m_imp->expiryDate;
}

void NetworkCookie::SetDomain(const wchar_t* domain) {
    takeText("SetDomain", domain, m_imp->domain);
}

int NetworkCookie::GetDomain(wchar_t* buffer, int size) const {
    return copyText(m_imp->domain, buffer, size);
}

void NetworkCookie::SetPath(const wchar_t* path) {
    takeText("SetPath", path, m_imp->path);
}

int NetworkCookie::GetPath(wchar_t* buffer, int size) const {
    return copyText(m_imp->path, buffer, size);
}

} // namespace Velquor::WebServices
