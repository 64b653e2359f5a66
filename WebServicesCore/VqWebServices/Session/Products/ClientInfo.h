#pragma once

#include "Values/ConfigurationPointer.h"

#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QVector>
#include <VqWebServices/OAuth2TokenSpec.h>

namespace Velquor::WebServices::Internal {

/// The process and product behind a client.
struct ClientIdentity {
    QString clientKey; ///< The consumer key, or the process id for the default client of a process.
    qint64 processId = 0;
    QString productName;
    QString productExeFile;
};

/// Whether a client uses OAuth2 tokens, and of which kinds.
struct OAuth2Settings {
    bool isEnabled = false;
    QVector<OAuth2TokenSpec> specs; ///< In the order in which they were enabled.

    /// The spec of an operation that names none: the first that was enabled, else that of the older interface.
    [[nodiscard]] OAuth2TokenSpec defaultSpec() const;
    /// Type RT, the scope of the configuration.
    [[nodiscard]] static OAuth2TokenSpec legacySpec();
};

/// One registered product: its identity, and its configuration for each server.
///
/// Thread: under the clients lock. Owner: the client registry.
class ClientInfo {
public:
    explicit ClientInfo(ClientIdentity identity);

    [[nodiscard]] const ClientIdentity& identity() const { return m_identity; }

    /// The client's name in all texts about clients: the product's name, else the executable and the process id. On the
    /// single-sign-on server, where one product may be a client several times, all three.
    [[nodiscard]] QString displayName(bool isSSOServer) const;

    void setConfiguration(const ConfigurationPointer& configuration);
    [[nodiscard]] QList<ConfigurationPointer> configurations() const { return m_configurations.values(); }
    [[nodiscard]] ConfigurationPointer configuration(int server) const { return m_configurations.value(server); }
    /// The consumer key of the configuration for a server. It is the product's key, which the login state file holds in clear as
    /// well.
    [[nodiscard]] QString productKey(int server) const { return m_productKeys.value(server); }
    [[nodiscard]] const OAuth2Settings& oauth2() const { return m_oauth2; }
    /// False when the kind was enabled before.
    bool enableOAuth2(const OAuth2TokenSpec& spec);
    /// Returns the kinds that were enabled.
    [[nodiscard]] QVector<OAuth2TokenSpec> disableOAuth2();
    /// The caches that the client has switched on, by the number of their type.
    void enableCache(int type, bool enable);
    [[nodiscard]] bool isCacheEnabled(int type) const { return m_caches.contains(type); }
    [[nodiscard]] bool hasConfigurations() const { return !m_configurations.isEmpty(); }

private:
    ClientIdentity m_identity;
    QMap<int, ConfigurationPointer> m_configurations;
    QMap<int, QString> m_productKeys;
    OAuth2Settings m_oauth2;
    QSet<int> m_caches;
};

} // namespace Velquor::WebServices::Internal
