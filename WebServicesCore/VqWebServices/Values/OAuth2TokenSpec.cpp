#include <VqWebServices/OAuth2TokenSpec.h>

#include "Values/CallerText.h"
#include "Values/OAuth2TokenSpecImp.h"

namespace Velquor::WebServices {

using namespace Internal;

OAuth2TokenSpec::OAuth2TokenSpec()
    : m_imp(new OAuth2TokenSpecImp) {}

OAuth2TokenSpec::OAuth2TokenSpec(OAuth2TokenType type, const wchar_t* scope)
    : m_imp(new OAuth2TokenSpecImp) {
    // Not with another scope than the caller asked for.
    SetType(SetScope(scope) ? type : InvalidTokenType);
}

OAuth2TokenSpec::OAuth2TokenSpec(const OAuth2TokenSpec& other)
    : m_imp(new OAuth2TokenSpecImp(*other.m_imp)) {}

OAuth2TokenSpec& OAuth2TokenSpec::operator=(const OAuth2TokenSpec& other) {
    if (this != &other)
        *m_imp = *other.m_imp;
    return *this;
}

OAuth2TokenSpec::~OAuth2TokenSpec() {
    delete m_imp;
}

OAuth2TokenType OAuth2TokenSpec::GetType() const {
    return m_imp->type;
}

bool OAuth2TokenSpec::SetType(OAuth2TokenType type) {
    m_imp->type = type;
    return true;
}

int OAuth2TokenSpec::GetScope(wchar_t* buffer, int size) const {
    return copyText(m_imp->scope, buffer, size);
}

bool OAuth2TokenSpec::SetScope(const wchar_t* scope) {
    QString taken;
    if (!takeText("SetScope", scope, taken))
        return false;
    m_imp->scope = normalisedScope(taken);
    return true;
}

bool OAuth2TokenSpec::operator==(const OAuth2TokenSpec& other) const {
    return m_imp->equals(*other.m_imp);
}

bool OAuth2TokenSpec::operator!=(const OAuth2TokenSpec& other) const {
    return !(*this == other);
}

} // namespace Velquor::WebServices
