#pragma once

#include <QByteArray>
#include <QDateTime>

namespace Velquor::WebServices::Internal {

/// The OAuth 1.0 tokens of one product, encrypted. A plain value.
struct ProductTokens {
    QByteArray accessToken;
    QByteArray accessTokenSecret;
    QByteArray sessionHandle;
    QDateTime expiryDate;

    [[nodiscard]] bool areComplete() const {
        return !accessToken.isEmpty() && !accessTokenSecret.isEmpty() && !sessionHandle.isEmpty();
    }
    [[nodiscard]] bool areExpired(const QDateTime& now) const { return expiryDate.isValid() && expiryDate <= now; }
    /// Complete, and not the same tokens. The expiry dates do not show which are newer: a clock may have been corrected.
    [[nodiscard]] bool areOthersThan(const ProductTokens& earlier) const {
        return areComplete() && accessToken != earlier.accessToken;
    }
};

} // namespace Velquor::WebServices::Internal
