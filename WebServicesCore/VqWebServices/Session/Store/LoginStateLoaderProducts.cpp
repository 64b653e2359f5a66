// The part of the loader that reads the products of the login state file, and removes those that are of no use.

#include "Session/Products/TokenOperations.h"
#include "Session/State/LoginStateNames.h"
#include "Session/Store/LoginStateLoader.h"

#include <QSet>

namespace Velquor::WebServices::Internal {

namespace Names = LoginStateNames;

void LoginStateLoader::loadProducts(const QDomElement& login) {
    QStringList loadedNames;
    QDomElement product = login.firstChildElement(Names::products).firstChildElement(Names::product);
    QSet<QString> keys;
    for (; !product.isNull(); product = product.nextSiblingElement(Names::product)) {
        const QString key = product.attribute(Names::productKey);
        if (key.isEmpty())
            m_logger.warning(QStringLiteral("Invalid product node without product key found and ignored"));
        else if (!keys.contains(key))
            loadProductNode(product, loadedNames);
        keys.insert(key);
    }
    m_logger.information(m_state.basic().loginCookies.isEmpty() ? QStringLiteral("Login cookies not found in login state file")
                                                                : QStringLiteral("Login cookies found in login state file"));
    m_logger.information(QStringLiteral("Loaded login state from file %1").arg(m_state.file.path()));
    m_logger.information(QStringLiteral("Loaded login state of following products from login state file: %1")
                             .arg(loadedNames.join(QStringLiteral(", "))));
}

void LoginStateLoader::loadProductNode(const QDomElement& product, QStringList& loadedNames) {
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

bool LoginStateLoader::isKeyOfOtherServer(const QString& productKey, Server& server) const {
    for (const Server candidate : {Production, Staging, Development}) {
        const QStringList configured = m_state.clients.configuredFor(candidate);
        for (const QString& clientKey : configured) {
            if (m_state.clients.productKey(clientKey, candidate) != productKey)
                continue;
            server = candidate;
            // A key that is used on the current server too is in its right place there.
            if (candidate == m_state.currentServer())
                return false;
        }
    }
    return isRealServer(server) && server != m_state.currentServer();
}

// A product that waits for the browser, or for its automatic sign-in, is about to get its tokens.
bool LoginStateLoader::isBecomingValid(const ProductLoginSession& session) {
    const TokenOperations* const operations = session.operations();
    return !session.requestToken().token.isEmpty() || (operations && operations->isQueryInProgress());
}

void LoginStateLoader::deleteInvalidProducts() {
    m_logger.information(QStringLiteral("Deleting invalid product login sessions"));
    int count = 0;
    const Server current = m_state.currentServer();
    const QVector<ProductSessionPointer> sessions = m_state.products.all();
    for (const ProductSessionPointer& session : sessions) {
        Server other = NoServer;
        if (session->server() == current && isKeyOfOtherServer(session->productKey(), other))
            m_logger.warning(
                QStringLiteral(
                    "Deleting login state of product %1 since the consumer key %2 is for %3 server, but current server is %4")
                    .arg(session->displayName(), session->productKey(), serverName(other), serverName(current)));
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
