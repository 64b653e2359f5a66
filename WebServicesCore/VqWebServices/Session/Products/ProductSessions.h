#pragma once

#include "Session/Products/ProductLoginSession.h"

#include <QMap>
#include <QPair>
#include <QReadWriteLock>
#include <QVector>
#include <memory>

namespace Velquor::WebServices::Internal {

using ProductSessionPointer = std::shared_ptr<ProductLoginSession>;

/// The product login sessions of this process, by consumer key and server.
///
/// Thread: any (its own lock, taken after the login session lock). Owner: the login session.
class ProductSessions {
public:
    explicit ProductSessions(SessionDependencies services);

    /// Null when there is none.
    [[nodiscard]] ProductSessionPointer find(const QString& productKey, Server server) const;
    /// Null for an empty key, without a server, and after `stopAll`. `clientKey` as in the session's constructor.
    [[nodiscard]] ProductSessionPointer getOrCreate(const QString& productKey, Server server, const QString& clientKey);
    [[nodiscard]] QVector<ProductSessionPointer> onServer(Server server) const;
    [[nodiscard]] QVector<ProductSessionPointer> all() const;
    /// A removed session ends its thread and is destroyed later, by another call here or by `stopAll`.
    void remove(const QString& productKey, Server server);
    void clear();
    /// Removes all, makes no new ones, and waits until every thread has ended. With no lock held, not on a token operations
    /// thread.
    void stopAll();

    /// True when a product (or, with an empty key, any product) has all its tokens on the server.
    [[nodiscard]] bool hasTokens(const QString& productKey, Server server) const;

private:
    void retire(const QVector<ProductSessionPointer>& sessions);

    const SessionDependencies m_services;
    mutable QReadWriteLock m_lock;
    QMap<QPair<QString, int>, ProductSessionPointer> m_sessions;
    bool m_stopped = false;
    QVector<ProductSessionPointer> m_retired; ///< Their threads may still run.
};

} // namespace Velquor::WebServices::Internal
