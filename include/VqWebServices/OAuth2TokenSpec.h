#pragma once

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class OAuth2TokenSpecImp;

/// The kinds of OAuth2 token. The numbers are used in files and JSON; 0 is invalid.
enum OAuth2TokenType : int {
    InvalidTokenType = 0, ///< No token can be requested with it.
    RT = 1,               ///< The kind of a product's default token.
    JWT = 2,              ///< A JSON web token.
};

/// Identifies an OAuth2 token by type and scope.
///
/// A scope is normalised when it is set: it is trimmed, split at blanks, sorted ignoring case, and joined by single blanks. So
/// equality ignores the order and the case of scope words.
/// Thread: any, one at a time for each object. Owner: the caller. Errors: none.
class VQWEBSERVICES_EXPORT OAuth2TokenSpec {
public:
    /// Creates a spec with type `RT` and the empty scope.
    OAuth2TokenSpec();
    /// Creates a spec with this type, and with the scope as `SetScope` stores it. The type is `InvalidTokenType` when `SetScope`
    /// would fail.
    OAuth2TokenSpec(OAuth2TokenType type, const wchar_t* scope);
    /** @{ */
    /// Copies share nothing.
    OAuth2TokenSpec(const OAuth2TokenSpec& other);
    OAuth2TokenSpec& operator=(const OAuth2TokenSpec& other);
    /** @} */
    ~OAuth2TokenSpec();

    /// The type that was set; it is not checked.
    OAuth2TokenType GetType() const;
    /// Stores the type; always true.
    bool SetType(OAuth2TokenType type);

    /// The normalised scope; text buffer rule.
    int GetScope(wchar_t* buffer, int size) const;
    /// Normalises and stores the scope. A null pointer counts as the empty text. False, with the old scope kept and one log line,
    /// for a text of more than 1048575 units or one that is not Unicode.
    bool SetScope(const wchar_t* scope);

    /** @{ */
    /// Specs are equal when their types are equal, and their scopes ignoring case. `WebServicesManager::EnableOAuth2` with true
    /// enables a token whose spec is not equal to any spec that a caller can create.
    bool operator==(const OAuth2TokenSpec& other) const;
    bool operator!=(const OAuth2TokenSpec& other) const;
    /** @} */

private:
    friend class OAuth2TokenSpecImp;
    OAuth2TokenSpecImp* m_imp;
};

} // namespace Velquor::WebServices
