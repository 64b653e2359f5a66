#include "Session/Store/StoredProducts.h"

#include "Session/Products/TokenOperations.h"

#include <algorithm>

namespace Velquor::WebServices::Internal {

StoredProducts::StoredProducts(LockedState& state)
    : m_state(state)
    , m_logger(*state->services().loggers.session) {}

void StoredProducts::load(const QVector<StoredProduct>& merged, const LoginState& file) {
    QStringList loadedNames;
    for (const StoredProduct& product : merged) {
        if (product.productKey.isEmpty())
            m_logger.warning(QStringLiteral("Invalid product node without product key found and ignored"));
        else if (file.product(product.productKey))
            loadProduct(product, loadedNames);
    }
    m_logger.information(file.user.loginCookies.isEmpty() ? QStringLiteral("Login cookies not found in login state file")
                                                          : QStringLiteral("Login cookies found in login state file"));
    m_logger.information(QStringLiteral("Loaded login state from file %1").arg(m_state.file().path()));
    m_logger.information(QStringLiteral("Loaded login state of following products from login state file: %1")
                             .arg(loadedNames.join(QStringLiteral(", "))));
}

void StoredProducts::loadProduct(const StoredProduct& product, QStringList& loadedNames) {
    const Server server = m_state->currentServer();
    const QString clientKey = m_state->clients().clientsOf(product.productKey, server).value(0);
    const ProductSessionPointer session = m_state.products().getOrCreate(product.productKey, server, clientKey);
    if (!session) {
        m_logger.error(
            QStringLiteral("Failed to load product node for product %1. Failed to get or create product login session.")
                .arg(product.fullName()));
        return;
    }
    session->Load(product);
    loadedNames += session->displayName();
}

void StoredProducts::clearAllBut(const LoginState& file) {
    const QVector<ProductSessionPointer> sessions = m_state.products().all();
    for (const ProductSessionPointer& session : sessions) {
        if (!file.product(session->productKey()))
            session->Clear();
    }
}

bool StoredProducts::isAnyMissing(const LoginState& file) const {
    const QVector<ProductSessionPointer> sessions = m_state.products().onServer(m_state->currentServer());
    return std::any_of(sessions.begin(), sessions.end(), [&](const ProductSessionPointer& session) {
        return session->configuration() && session->tokens().areComplete() && !file.product(session->productKey());
    });
}

std::optional<Server> StoredProducts::otherServerOf(const QString& productKey) const {
    std::optional<Server> other;
    for (const Server candidate : {Production, Staging, Development}) {
        const QStringList configured = m_state->clients().configuredFor(candidate);
        for (const QString& clientKey : configured) {
            if (m_state->clients().productKey(clientKey, candidate) != productKey)
                continue;
            // A key that the current server uses too belongs there.
            if (candidate == m_state->currentServer())
                return {};
            other = candidate;
        }
    }
    return other;
}

// A product that waits for the browser, or for its automatic sign-in, is about to get its tokens.
bool StoredProducts::isBecomingValid(const ProductLoginSession& session) const {
    const TokenOperations* const operations = session.operations();
    return m_state->pendingSignIn(session.productKey()) || (operations && operations->isQueryInProgress());
}

void StoredProducts::deleteInvalid() {
    m_logger.information(QStringLiteral("Deleting invalid product login sessions"));
    int count = 0;
    const Server current = m_state->currentServer();
    const QVector<ProductSessionPointer> sessions = m_state.products().all();
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
        m_state.products().remove(session->productKey(), session->server());
        ++count;
    }
    m_logger.information(count > 0 ? QStringLiteral("%1 invalid product login sessions found and deleted").arg(count)
                                   : QStringLiteral("No invalid product login session found"));
}

} // namespace Velquor::WebServices::Internal
