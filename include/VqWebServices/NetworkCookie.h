#pragma once

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class NetworkCookieImp;

/// One HTTP cookie of the browser or of the service.
///
/// Names and values are bytes. Their getters follow the byte buffer rule: a null buffer yields the length in bytes; otherwise
/// a 0 byte is written first when size is at least 1, min(length, size) bytes are copied, a 0 byte follows only when room is
/// left, and the number of bytes copied is returned. A value that exactly fills the buffer is therefore not terminated.
/// Thread: any, one at a time for each object. Owner: the caller.
class VQWEBSERVICES_EXPORT NetworkCookie {
public:
    NetworkCookie();
    NetworkCookie(const NetworkCookie& other);
    NetworkCookie& operator=(const NetworkCookie& other);
    ~NetworkCookie();

    void SetName(const char* name);
    int GetName(char* buffer, int size) const;
    void SetValue(const char* value);
    int GetValue(char* buffer, int size) const;

    void SetSecure(bool secure);
    bool IsSecure() const;
    void SetHttpOnly(bool httpOnly);
    bool IsHttpOnly() const;

    /// Seconds since 1970-01-01 UTC; 0 for a session cookie.
    void SetExpiryDate(long long seconds);
    long long GetExpiryDate() const;

    void SetDomain(const wchar_t* domain);
    int GetDomain(wchar_t* buffer, int size) const;
    void SetPath(const wchar_t* path);
    int GetPath(wchar_t* buffer, int size) const;

private:
    friend class NetworkCookieImp;
    NetworkCookieImp* m_imp;
};

} // namespace Velquor::WebServices
