#include "Session/Products/ProductSessions.h"

#include <QReadLocker>
#include <QWriteLocker>
#include <algorithm>
#include <iterator>
#include <utility>

namespace Velquor::WebServices::Internal {

ProductSessions::ProductSessions(SessionDependencies services)
    : m_services(std::move(services)) {}

ProductSessionPointer ProductSessions::find(const QString& productKey, Server server) const {
    const QReadLocker lock(&m_lock);
    return m_sessions.value({productKey, server});
}

ProductSessionPointer ProductSessions::getOrCreate(const QString& productKey, Server server, const QString& clientKey) {
    if (productKey.isEmpty() || !isRealServer(server))
        return {};
    const QWriteLocker lock(&m_lock);
    if (m_stopped)
        return {};
    ProductSessionPointer& session = m_sessions[{productKey, server}];
    if (!session)
        session = std::make_shared<ProductLoginSession>(m_services, productKey, server, clientKey);
    return session;
}

QVector<ProductSessionPointer> ProductSessions::onServer(Server server) const {
    QVector<ProductSessionPointer> found = all();
    found.erase(std::remove_if(found.begin(), found.end(), [server](const auto& session) { return session->server() != server; }),
                found.end());
    return found;
}

QVector<ProductSessionPointer> ProductSessions::all() const {
    const QReadLocker lock(&m_lock);
    return m_sessions.values().toVector();
}

void ProductSessions::remove(const QString& productKey, Server server) {
    ProductSessionPointer gone;
    {
        const QWriteLocker lock(&m_lock);
        gone = m_sessions.take({productKey, server});
    }
    if (gone)
        retire({gone});
}

void ProductSessions::clear() {
    QMap<QPair<QString, int>, ProductSessionPointer> gone;
    {
        const QWriteLocker lock(&m_lock);
        gone.swap(m_sessions);
    }
    retire(gone.values().toVector());
}

void ProductSessions::retire(const QVector<ProductSessionPointer>& sessions) {
    for (const ProductSessionPointer& session : sessions)
        session->retire();
    // Destroyed after the lock is released. A session may be removed on its own thread, which cannot wait for itself.
    QVector<ProductSessionPointer> ended;
    const QWriteLocker lock(&m_lock);
    m_retired += sessions;
    const auto firstEnded =
        std::stable_partition(m_retired.begin(), m_retired.end(), [](const auto& session) { return !session->isAtRest(); });
    std::copy(firstEnded, m_retired.end(), std::back_inserter(ended));
    m_retired.erase(firstEnded, m_retired.end());
}

void ProductSessions::stopAll() {
    {
        const QWriteLocker lock(&m_lock);
        m_stopped = true;
    }
    // The sessions stay findable until their threads have ended: a thread that is saving tokens would mistake a user without
    // products for a signed-out one.
    const QVector<ProductSessionPointer> running = all();
    for (const ProductSessionPointer& session : running)
        session->retire();
    for (const ProductSessionPointer& session : running)
        session->Deactivate();
    clear();
    QVector<ProductSessionPointer> gone;
    {
        const QWriteLocker lock(&m_lock);
        gone.swap(m_retired);
    }
    for (const ProductSessionPointer& session : std::as_const(gone))
        session->Deactivate();
}

bool ProductSessions::hasTokens(const QString& productKey, Server server) const {
    const QReadLocker lock(&m_lock);
    return std::any_of(m_sessions.begin(), m_sessions.end(), [&](const auto& session) {
        return session->server() == server && (productKey.isEmpty() || session->productKey() == productKey)
               && session->tokens().areComplete();
    });
}

} // namespace Velquor::WebServices::Internal
