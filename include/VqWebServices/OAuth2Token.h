#pragma once

#include <VqWebServices/OAuth2TokenSpec.h>

namespace Velquor::WebServices {

class OAuth2TokenImp;

/// An OAuth2 access token with its spec. It does not contain an expiry date.
///
/// Thread: any, one at a time for each object. Owner: the caller.
class VQWEBSERVICES_EXPORT OAuth2Token {
public:
    /** @{ */
    /// An empty token with the default spec, or a copy that shares nothing.
    OAuth2Token();
    OAuth2Token(const OAuth2Token& other);
    OAuth2Token& operator=(const OAuth2Token& other);
    /** @} */
    ~OAuth2Token();

    /// True when the token text is not empty.
    bool IsValid() const;

    /// The length of the token in units of `wchar_t`, without terminator.
    int GetTokenSize() const;

    /// The terminated token. The pointer is valid while this object exists and is not changed.
    const wchar_t* GetToken() const;

    /// Copies the whole terminated token and returns its length. With a null buffer it only returns the length. It never
    /// truncates: a buffer smaller than length + 1 receives the empty text, the result is 0 and an error is logged.
    int GetToken(wchar_t* buffer, int size) const;

    /// A copy of the spec.
    OAuth2TokenSpec GetSpec() const;

    /** @{ */
    /// Tokens are equal when their texts (unit by unit) and their specs are.
    bool operator==(const OAuth2Token& other) const;
    bool operator!=(const OAuth2Token& other) const;
    /** @} */

private:
    friend class OAuth2TokenImp;
    OAuth2TokenImp* m_imp;
};

} // namespace Velquor::WebServices
