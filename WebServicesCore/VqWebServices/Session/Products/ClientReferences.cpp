#include "Session/Products/ClientReferences.h"

#include <QReadLocker>
#include <QStringList>
#include <QWriteLocker>
#include <utility>

namespace Velquor::WebServices::Internal {

ClientReferences::ClientReferences(std::shared_ptr<Log::ILogger> logger)
    : m_logger(std::move(logger)) {}

void ClientReferences::add(const QString& clientKey) {
    const QWriteLocker lock(&m_lock);
    if (clientKey.isEmpty())
        return;
    m_logger->information(QStringLiteral("Adding client reference %1 in product login session").arg(clientKey));
    m_keys.insert(clientKey);
    m_logger->information(QStringLiteral("Added client reference %1 in product login session. Client references (%2): %3")
                              .arg(clientKey, QString::number(m_keys.size()), joined()));
}

void ClientReferences::remove(const QString& clientKey) {
    const QWriteLocker lock(&m_lock);
    m_logger->information(QStringLiteral("Removing client reference %1 in product login session").arg(clientKey));
    m_keys.remove(clientKey);
    m_logger->information(QStringLiteral("Removed client reference %1 in product login session. Client references (%2): %3")
                              .arg(clientKey, QString::number(m_keys.size()), joined()));
}

int ClientReferences::count() const {
    const QReadLocker lock(&m_lock);
    return m_keys.size();
}

QString ClientReferences::text() const {
    const QReadLocker lock(&m_lock);
    return joined();
}

QString ClientReferences::joined() const {
    QStringList keys(m_keys.cbegin(), m_keys.cend());
    keys.sort();
    return keys.join(QStringLiteral(", "));
}

} // namespace Velquor::WebServices::Internal
