#pragma once

#include <QJsonObject>
#include <QString>
#include <VqWebServices/OAuth2TokenSpec.h>

namespace Velquor::WebServices {

namespace Internal {

/// "RT", "JWT", "Invalid" for 0; "Unknown" for any other value.
[[nodiscard]] QString tokenTypeName(int type);

/// Trims, splits at blanks, sorts ignoring case and joins with single blanks, so that equal scopes have the same text.
[[nodiscard]] QString normalisedScope(const QString& scope);

} // namespace Internal

/// The data of an `OAuth2TokenSpec`. Thread: as its owner. Owner: one `OAuth2TokenSpec`.
class OAuth2TokenSpecImp {
public:
    static OAuth2TokenSpecImp& of(OAuth2TokenSpec& spec) { return *spec.m_imp; }
    static const OAuth2TokenSpecImp& of(const OAuth2TokenSpec& spec) { return *spec.m_imp; }

    [[nodiscard]] bool equals(const OAuth2TokenSpecImp& other) const;

    /// Type and scope for logs and keys: "RT.data openid", "JWT.<none>".
    [[nodiscard]] QString toText() const;

    [[nodiscard]] QJsonObject toJson() const;
    /// False for an empty object, which leaves this spec unchanged; missing keys read as 0, empty and false.
    [[nodiscard]] bool fromJson(const QJsonObject& json);

    bool legacy = false;
    OAuth2TokenType type = RT;
    QString scope;
};

} // namespace Velquor::WebServices
