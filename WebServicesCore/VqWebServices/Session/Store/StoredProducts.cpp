#include "Session/Store/StoredProducts.h"

#include "Session/Products/TokenOperations.h"
#include "Session/State/LoginStateElements.h"

#include <QSet>

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

StoredProducts::StoredProducts(SessionState& state)
    : m_state(state)
    , m_logger(*state.services.loggers.session) {}

void StoredProducts::load(const QDomElement& login) {
    QStringList loadedNames;
    QDomElement product = login.firstChildElement(Names::products).firstChildElement(Names::product);
    QSet<QString> keys;
    for (; !product.isNull(); product = product.nextSiblingElement(Names::product)) {
        const QString key = product.attribute(Names::productKey);
        if (key.isEmpty())
            m_logger.warning(QStringLiteral("Invalid product node without product key found and ignored"));
        else if (!keys.contains(key))
            loadProduct(product, loadedNames);
        keys.insert(key);
    }
    m_logger.information(m_state.basic().loginCookies.isEmpty() ? QStringLiteral("Login cookies not found in login state file")
                                                                : QStringLiteral("Login cookies found in login state file"));
    m_logger.information(QStringLiteral("Loaded login state from file %1").arg(m_state.file.path()));
    m_logger.information(QStringLiteral("Loaded login state of following products from login state file: %1")
                             .arg(loadedNames.join(QStringLiteral(", "))));
}

void StoredProducts::loadProduct(const QDomElement& product, QStringList& loadedNames) {
    const ProductSessionPointer session =
        m_state.products.getOrCreate(product.attribute(Names::productKey), m_state.currentServer());
    if (!session) {
        const QString name =
            QStringLiteral("%1.%2").arg(product.attribute(QStringLiteral("Name")), product.attribute(QStringLiteral("ExeName")));
        m_logger.error(
            QStringLiteral("Failed to load product node for product %1. Failed to get or create product login session.")
                .arg(name));
        return;
    }
    session->Load(product);
    loadedNames += session->displayName();
}

std::optional<Server> StoredProducts::otherServerOf(const QString& productKey) const {
    std::optional<Server> other;
    for (const Server candidate : {Production, Staging, Development}) {
        const QStringList configured = m_state.clients.configuredFor(candidate);
        for (const QString& clientKey : configured) {
            if (m_state.clients.productKey(clientKey, candidate) != productKey)
                continue;
            // A key that the current server uses too belongs there.
            if (candidate == m_state.currentServer())
                return {};
            other = candidate;
        }
    }
    return other;
}

// A product that waits for the browser, or for its automatic sign-in, is about to get its tokens.
bool StoredProducts::isBecomingValid(const ProductLoginSession& session) {
    const TokenOperations* const operations = session.operations();
    return !session.requestToken().token.isEmpty() || (operations && operations->isQueryInProgress());
}

void StoredProducts::deleteInvalid() {
    m_logger.information(QStringLiteral("Deleting invalid product login sessions"));
    int count = 0;
    const Server current = m_state.currentServer();
    const QVector<ProductSessionPointer> sessions = m_state.products.all();
    for (const ProductSessionPointer& session : sessions) {
        const std::optional<Server> other = session->server() == current ? otherServerOf(session->productKey()) : std::nullopt;
        if (other)
            m_logger.warning(
                QStringLiteral(
                    "Deleting login state of product %1 since the consumer key %2 is for %3 server, but current server is %4")
                    .arg(session->displayName(), session->productKey(), serverName(*other), serverName(current)));
        else if (session->server() != current || !(session->tokens().areComplete() || isBecomingValid(*session)))
            m_logger.warning(QStringLiteral("Deleting invalid product login session for product %1 and server %2")
                                 .arg(session->displayName(), serverName(session->server())));
        else
            continue;
        m_state.products.remove(session->productKey(), session->server());
        ++count;
    }
    m_logger.information(count > 0 ? QStringLiteral("%1 invalid product login sessions found and deleted").arg(count)
                                   : QStringLiteral("No invalid product login session found"));
}

} // namespace Velquor::WebServices::Internal
