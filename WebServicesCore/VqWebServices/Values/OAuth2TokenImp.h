#pragma once

#include "VqUtil/Crypto/ICryptor.h"

#include <QJsonObject>
#include <QString>
#include <VqWebServices/OAuth2Token.h>
#include <string>

namespace Velquor::WebServices {

/// The data of an `OAuth2Token`. Thread: as its owner. Owner: one `OAuth2Token`.
class OAuth2TokenImp {
public:
    static OAuth2TokenImp& of(OAuth2Token& token) { return *token.m_imp; }
    static const OAuth2TokenImp& of(const OAuth2Token& token) { return *token.m_imp; }

    /// The JSON form, with the token encrypted. Empty when the encryption failed.
    [[nodiscard]] QJsonObject toJson(Util::ICryptor& cryptor) const;
    /// False, leaving this token unchanged, when the token spec is missing or the token cannot be decrypted.
    [[nodiscard]] bool fromJson(const QJsonObject& json, Util::ICryptor& cryptor);

    std::wstring token;
    OAuth2TokenSpec spec;
};

} // namespace Velquor::WebServices
