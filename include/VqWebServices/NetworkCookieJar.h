#pragma once

#include <VqWebServices/NetworkCookie.h>

namespace Velquor::WebServices {

class NetworkCookieJarImp;

/// An ordered list of cookies, for instance those of a browser after a sign-in.
///
/// Thread: any, one at a time for each object. Owner: the caller. Errors: none.
class VQWEBSERVICES_EXPORT NetworkCookieJar {
public:
    /** @{ */
    /// An empty jar, or a copy that shares nothing.
    NetworkCookieJar();
    NetworkCookieJar(const NetworkCookieJar& other);
    NetworkCookieJar& operator=(const NetworkCookieJar& other);
    /** @} */
    ~NetworkCookieJar();

    /// Appends a copy; always true.
    bool AddCookie(const NetworkCookie& cookie);
    /// The number of cookies; 0 or more.
    int GetCookieCount() const;
    /// A copy of the cookie at the index (0 to count - 1); an empty cookie for any other index.
    NetworkCookie GetCookie(int index) const;
    /// Empties the jar.
    void DeleteAll();

private:
    friend class NetworkCookieJarImp;
    NetworkCookieJarImp* m_imp;
};

} // namespace Velquor::WebServices
