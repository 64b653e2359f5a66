#pragma once

#include "VqLog/ILogger.h"

#include <QReadWriteLock>
#include <QSet>
#include <QString>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The clients of this process that are one product. Thread: any (a lock of its own, under which nothing else is taken). Owner:
/// the product's session.
class ClientReferences {
public:
    explicit ClientReferences(std::shared_ptr<Log::ILogger> logger);

    /// Does nothing for an empty key. A client may be added again.
    void add(const QString& clientKey);
    void remove(const QString& clientKey);

    [[nodiscard]] int count() const;
    /// The keys of the clients, sorted and joined by commas.
    [[nodiscard]] QString text() const;

private:
    /// Under the lock.
    [[nodiscard]] QString joined() const;

    const std::shared_ptr<Log::ILogger> m_logger;
    mutable QReadWriteLock m_lock;
    QSet<QString> m_keys;
};

} // namespace Velquor::WebServices::Internal
