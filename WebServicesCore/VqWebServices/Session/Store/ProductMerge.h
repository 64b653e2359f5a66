#pragma once

#include "Session/Core/SessionState.h"

#include <QDomElement>
#include <QMap>

namespace Velquor::WebServices::Internal {

/// Writes the products of this process into the user's sign-in in the file, next to those of other processes. Decides for each
/// product whether memory or the file holds the newer tokens.
///
/// Thread: any, under the login session lock. Owner: the saver. Errors: none; a product without tokens is not written.
class ProductMerge {
public:
    explicit ProductMerge(SessionState& state);

    /// The tokens of this product were just obtained.
    void setFresh(const ProductLoginSession& fresh) { m_fresh = &fresh; }

    /// `isSameSignIn`: the element is of the sign-in in memory.
    void writeInto(QDomElement& login, bool isSameSignIn);

    /// The document was written to the file.
    void confirm();

private:
    using Nodes = QMap<QString, QDomElement>;

    [[nodiscard]] Nodes takeStock(QDomElement& products) const;
    void writeProduct(QDomElement& products, const ProductSessionPointer& session, const QDomElement& earlier, bool isSameSignIn);

    SessionState& m_state;
    const ProductLoginSession* m_fresh = nullptr;
    QVector<ProductSessionPointer> m_written;
};

} // namespace Velquor::WebServices::Internal
