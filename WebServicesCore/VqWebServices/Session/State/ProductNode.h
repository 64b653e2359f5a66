#pragma once

#include "Tokens/OAuth2TokenData.h"
#include "Tokens/ProductTokens.h"

#include <QDomElement>
#include <QString>
#include <QVector>

namespace Velquor::WebServices::Internal {

/// What the "Product" element of the login state file holds of one product. Secrets stay encrypted. A plain value.
struct ProductNode {
    QString name;
    QString exeName;
    QString serialNumber; ///< Written, and never read.
    QString productKey;
    int server = 0;
    ProductTokens tokens;
    QVector<OAuth2TokenData> oauth2Tokens;
};

/// What cannot be understood reads as empty.
[[nodiscard]] ProductNode readProductNode(const QDomElement& product);
/// The encrypted access token alone: it shows whether the element has changed.
[[nodiscard]] QByteArray readAccessToken(const QDomElement& product);

/// Writes the product into a new element. `earlier`: its element of the same sign-in in the file, whose OAuth2 tokens of other
/// kinds are kept; may be null.
void writeProductNode(QDomElement& product, const ProductNode& node, const QDomElement& earlier);

} // namespace Velquor::WebServices::Internal
