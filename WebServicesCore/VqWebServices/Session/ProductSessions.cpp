#include "Session/ProductSessions.h"

#include <QMutexLocker>
#include <algorithm>
#include <utility>

namespace Velquor::WebServices {

ProductSessions::ProductSessions(SessionServices services)
    : m_services(std::move(services)) {}

ProductSessionPointer ProductSessions::find(const QString& productKey, Server server) const {
    const QMutexLocker lock(&m_mutex);
    return m_sessions.value({productKey, server});
}

ProductSessionPointer ProductSessions::getOrCreate(const QString& productKey, Server server) {
    if (productKey.isEmpty() || !isRealServer(server))
        return {};
    const QMutexLocker lock(&m_mutex);
    ProductSessionPointer& session = m_sessions[{productKey, server}];
    if (!session)
        session = std::make_shared<ProductLoginSession>(m_services, productKey, server);
    return session;
}

QVector<ProductSessionPointer> ProductSessions::onServer(Server server) const {
    QVector<ProductSessionPointer> found = all();
    found.erase(std::remove_if(found.begin(), found.end(), [server](const auto& session) { return session->server() != server; }),
                found.end());
    return found;
}

QVector<ProductSessionPointer> ProductSessions::all() const {
    const QMutexLocker lock(&m_mutex);
    return m_sessions.values().toVector();
}

void ProductSessions::remove(const QString& productKey, Server server) {
    // The session itself may go after the lock is released, when somebody still signs with it.
    const QMutexLocker lock(&m_mutex);
    m_sessions.remove({productKey, server});
}

void ProductSessions::clear() {
    QMap<QPair<QString, int>, ProductSessionPointer> gone;
    const QMutexLocker lock(&m_mutex);
    gone.swap(m_sessions);
}

bool ProductSessions::hasTokens(const QString& productKey, Server server) const {
    const QMutexLocker lock(&m_mutex);
    return std::any_of(m_sessions.begin(), m_sessions.end(), [&](const auto& session) {
        return session->server() == server && (productKey.isEmpty() || session->productKey() == productKey)
               && session->tokens().areComplete();
    });
}

} // namespace Velquor::WebServices
