#pragma once

#include "Values/ConfigurationPointer.h"

#include <QMap>
#include <QString>

namespace Velquor::WebServices {

/// The process and product behind a client.
struct ClientIdentity {
    QString clientKey; ///< The consumer key, or the process id for the default client of a process.
    qint64 processId = 0;
    QString productName;
    QString productExeFile;
};

/// One registered product: who it is, and its configuration for each server.
///
/// Thread: under the clients lock. Owner: the client registry.
class ClientInfo {
public:
    explicit ClientInfo(ClientIdentity identity);

    [[nodiscard]] const ClientIdentity& identity() const { return m_identity; }

    /// The client's name in all texts about clients: the product's name, else the executable and the process id.
    [[nodiscard]] QString displayName() const;

    void setConfiguration(const ConfigurationPointer& configuration);
    [[nodiscard]] ConfigurationPointer configuration(int server) const { return m_configurations.value(server); }
    /// The consumer key of the configuration for a server: the product's key, which stands in the login state file in clear as
    /// well.
    [[nodiscard]] QString productKey(int server) const { return m_productKeys.value(server); }
    [[nodiscard]] bool hasConfigurations() const { return !m_configurations.isEmpty(); }

private:
    const ClientIdentity m_identity;
    QMap<int, ConfigurationPointer> m_configurations;
    QMap<int, QString> m_productKeys;
};

} // namespace Velquor::WebServices
