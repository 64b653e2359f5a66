#pragma once

#include <VqWebServices/VqWebServicesGlobal.h>

namespace Velquor::WebServices {

class OAuth2TokenSpecImp;

/// The kinds of OAuth2 token. The numbers travel in files and JSON; 0 is invalid.
enum OAuth2TokenType : int {
    InvalidTokenType = 0,
    RT = 1,
    JWT = 2,
};

/// Identifies an OAuth2 token by type and scope.
///
/// A scope is normalised when it is set: trimmed, split at blanks, sorted ignoring case, joined by single blanks; so the
/// order and the case of scope words make no difference to equality.
/// Thread: any, one at a time for each object. Owner: the caller.
class VQWEBSERVICES_EXPORT OAuth2TokenSpec {
public:
    /// Type `RT`, the empty scope.
    OAuth2TokenSpec();
    OAuth2TokenSpec(OAuth2TokenType type, const wchar_t* scope);
    OAuth2TokenSpec(const OAuth2TokenSpec& other);
    OAuth2TokenSpec& operator=(const OAuth2TokenSpec& other);
    ~OAuth2TokenSpec();

    OAuth2TokenType GetType() const;
    /// Always true.
    bool SetType(OAuth2TokenType type);

    /// Text buffer rule.
    int GetScope(wchar_t* buffer, int size) const;
    /// Normalises and stores the scope; always true. A null pointer counts as the empty text.
    bool SetScope(const wchar_t* scope);

    bool operator==(const OAuth2TokenSpec& other) const;
    bool operator!=(const OAuth2TokenSpec& other) const;

private:
    friend class OAuth2TokenSpecImp;
    OAuth2TokenSpecImp* m_imp;
};

} // namespace Velquor::WebServices
