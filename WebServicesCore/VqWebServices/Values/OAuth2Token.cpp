#include <VqWebServices/OAuth2Token.h>

#include "Values/OAuth2TokenImp.h"
#include "VqLog/LoggerWrapper.h"

#include <cwchar>

namespace Velquor::WebServices {

OAuth2Token::OAuth2Token()
    : m_imp(new OAuth2TokenImp) {}

OAuth2Token::OAuth2Token(const OAuth2Token& other)
    : m_imp(new OAuth2TokenImp(*other.m_imp)) {}

OAuth2Token& OAuth2Token::operator=(const OAuth2Token& other) {
    if (this != &other)
        *m_imp = *other.m_imp;
    return *this;
}

OAuth2Token::~OAuth2Token() {
    delete m_imp;
}

bool OAuth2Token::IsValid() const {
    return !m_imp->token.empty();
}

int OAuth2Token::GetTokenSize() const {
    return static_cast<int>(m_imp->token.size());
}

const wchar_t* OAuth2Token::GetToken() const {
    return m_imp->token.c_str();
}

int OAuth2Token::GetToken(wchar_t* buffer, int size) const {
    const int length = GetTokenSize();
    if (!buffer)
        return length;
    if (size < length + 1) {
        if (size >= 1)
            buffer[0] = 0;
        Log::LoggerWrapper(QStringLiteral("VqWebServices.OAuth2"))
            .error(QStringLiteral("OAuth2TokenImp::GetToken failed. Insufficient buffer size. Get the size using GetTokenSize."));
        return 0;
    }
    std::wmemcpy(buffer, m_imp->token.c_str(), static_cast<size_t>(length) + 1);
    return length;
}

OAuth2TokenSpec OAuth2Token::GetSpec() const {
    return m_imp->spec;
}

bool OAuth2Token::operator==(const OAuth2Token& other) const {
    return m_imp->token == other.m_imp->token && m_imp->spec == other.m_imp->spec;
}

bool OAuth2Token::operator!=(const OAuth2Token& other) const {
    return !(*this == other);
}

} // namespace Velquor::WebServices
