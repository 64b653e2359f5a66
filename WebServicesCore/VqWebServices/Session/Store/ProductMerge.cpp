#include "Session/Store/ProductMerge.h"

#include "Session/State/LoginStateElements.h"
#include "Session/State/LoginStateXml.h"

#include <utility>

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

ProductMerge::ProductMerge(SessionState& state)
    : m_state(state) {}

void ProductMerge::writeInto(QDomElement& login, bool isSameSignIn) {
    QDomElement products = LoginStateXml::childOrNew(login, Names::products);
    const Nodes existing = takeStock(products);
    const QVector<ProductSessionPointer> sessions = m_state.products.onServer(m_state.currentServer());
    for (const ProductSessionPointer& session : sessions)
        writeProduct(products, session, existing.value(session->productKey()), isSameSignIn);
}

ProductMerge::Nodes ProductMerge::takeStock(QDomElement& products) const {
    Nodes existing;
    QDomElement element = products.firstChildElement(Names::product);
    while (!element.isNull()) {
        const QDomElement next = element.nextSiblingElement(Names::product);
        const QString key = element.attribute(Names::productKey);
        if (existing.contains(key) && !key.isEmpty())
            products.removeChild(element); // Every reader takes the first.
        else
            existing.insert(key, element);
        element = next;
        if (m_state.products.find(key, m_state.currentServer()))
            continue;
        m_state.services.loggers.session->information(
            QStringLiteral("Found new product %1 in login state file while saving. Preserving it.")
                .arg(existing.value(key).attribute(QStringLiteral("Name"))));
    }
    return existing;
}

void ProductMerge::writeProduct(QDomElement& products, const ProductSessionPointer& session, const QDomElement& earlier,
                                bool isSameSignIn) {
    if (session.get() == m_fresh)
        session->noteFile(earlier);
    // A product without a configuration was only read here, and belongs to another process.
    if (!earlier.isNull() && (!session->configuration() || !session->mayReplace(earlier, isSameSignIn)))
        return;
    QDomElement element = products.ownerDocument().createElement(Names::product);
    if (!session->Save(element, isSameSignIn ? earlier : QDomElement()))
        return;
    if (earlier.isNull())
        products.appendChild(element);
    else
        products.replaceChild(element, earlier);
    m_written += session;
}

void ProductMerge::confirm() {
    for (const ProductSessionPointer& session : std::as_const(m_written))
        session->markSaved();
}

} // namespace Velquor::WebServices::Internal
