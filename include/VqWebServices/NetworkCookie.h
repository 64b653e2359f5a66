#pragma once

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class NetworkCookieImp;

/// One HTTP cookie of the browser or of the service.
///
/// Names and values are bytes, domain and path are texts. Setters take them null-terminated and store them unchanged. A null
/// pointer counts as empty. More than 1048575 units, or a text that is not Unicode, change nothing and are logged. Getters of
/// texts follow the text buffer rule. Getters of names and values follow the byte buffer rule:
///  - a null buffer: the result is the length in bytes;
///  - otherwise, when size is at least 1, a 0 byte is written first;
///  - min(length, size) bytes are copied, and their number is the result;
///  - a 0 byte follows only when there is space for it, so a value that exactly fills the buffer is not terminated.
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
    /// Whether the cookie is for secure connections only, and whether it is hidden from the scripts of a page. Both are false by
    /// default.
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
    /// Domain and path to which the cookie is sent; text buffer rule.
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
