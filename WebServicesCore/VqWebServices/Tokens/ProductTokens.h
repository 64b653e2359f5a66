#pragma once

#include <QByteArray>
#include <QDateTime>

namespace Velquor::WebServices {

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
    /// Other tokens than `earlier`, and not such that end before them.
    [[nodiscard]] bool areNewerThan(const ProductTokens& earlier) const {
        return areComplete() && accessToken != earlier.accessToken
               && (!earlier.areComplete() || expiryDate >= earlier.expiryDate);
    }
};

} // namespace Velquor::WebServices
