#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <VqWebServices/OAuth2TokenSpec.h>

namespace Velquor::WebServices::Internal {

/// An encrypted OAuth2 access token with its type, scope and expiry. A plain value.
struct OAuth2TokenData {
    OAuth2TokenType type = RT;
    QString scope; ///< Normalised.
    QByteArray token;
    QDateTime expiryDate;

    [[nodiscard]] bool isPresent() const { return !token.isEmpty(); }
    [[nodiscard]] bool isExpired(const QDateTime& now) const { return !expiryDate.isValid() || expiryDate <= now; }
    [[nodiscard]] bool isValid(const QDateTime& now) const { return isPresent() && !isExpired(now); }
    [[nodiscard]] bool isOfSameKind(const OAuth2TokenData& other) const {
        return type == other.type && scope.compare(other.scope, Qt::CaseInsensitive) == 0;
    }
};

} // namespace Velquor::WebServices::Internal
