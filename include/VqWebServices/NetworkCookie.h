#pragma once

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class NetworkCookieImp;

/// One HTTP cookie of the browser or of the service.
///
/// Names and values are bytes, domain and path are texts; setters take them null-terminated and store them as given, a null
/// pointer or more than 1048575 units count as empty. The getters of texts follow the text buffer rule, those of names and values
/// the byte buffer rule: a null buffer yields the length in bytes; otherwise a 0 byte is written first when size is at least 1,
/// min(length, size) bytes are copied, a 0 byte follows only when room is left, and the number of bytes copied is returned. A
/// value that exactly fills the buffer is therefore not terminated.
///
/// Thread: any, one at a time for each object. Owner: the caller. Errors: none.
class VQWEBSERVICES_EXPORT NetworkCookie {
public:
    /** @{ */
    /// A cookie with empty name, value, domain and path, or a copy that shares nothing.
    NetworkCookie();
    NetworkCookie(const NetworkCookie& other);
    NetworkCookie& operator=(const NetworkCookie& other);
    /** @} */
    ~NetworkCookie();

    /** @{ */
    /// The cookie's name and value as bytes, UTF-8 in the JSON forms; byte buffer rule.
    void SetName(const char* name);
    int GetName(char* buffer, int size) const;
    void SetValue(const char* value);
    int GetValue(char* buffer, int size) const;
    /** @} */

    /** @{ */
    /// Whether the cookie is for secure connections only, and whether it is hidden from the scripts of a page; both false unless
    /// set.
    void SetSecure(bool secure);
    bool IsSecure() const;
    void SetHttpOnly(bool httpOnly);
    bool IsHttpOnly() const;
    /** @} */

    /** @{ */
    /// Seconds since 1970-01-01 UTC; 0, the default, for a session cookie.
    void SetExpiryDate(long long seconds);
    long long GetExpiryDate() const;
    /** @} */

    /** @{ */
    /// Domain and path that the cookie is sent to; text buffer rule.
    void SetDomain(const wchar_t* domain);
    int GetDomain(wchar_t* buffer, int size) const;
    void SetPath(const wchar_t* path);
    int GetPath(wchar_t* buffer, int size) const;
    /** @} */

private:
    friend class NetworkCookieImp;
    NetworkCookieImp* m_imp;
};

} // namespace Velquor::WebServices
