#pragma once

#include "Session/Products/ClientInfo.h"
#include "VqLog/ILogger.h"

#include <QMap>
#include <QReadWriteLock>
#include <QStringList>
#include <VqWebServices/CacheType.h>
#include <memory>

namespace Velquor::WebServices::Internal {

/// The registered clients of this process, by client key.
///
/// Thread: any (its own lock, taken after the login session lock). Owner: the login session.
class ClientRegistry {
public:
    /// `isSSOServer`: the clients are those of other processes, which this one serves.
    ClientRegistry(std::shared_ptr<Log::ILogger> logger, bool isSSOServer);

    /// Registers a client; one that is registered already is left as it is.
    void add(const ClientIdentity& identity);
    void remove(const QString& clientKey);

    /// Copies, as of this moment.
    [[nodiscard]] QVector<ClientInfo> all() const;
    [[nodiscard]] bool contains(const QString& clientKey) const;
    /// The client's name in log texts; an unknown client is named as such.
    [[nodiscard]] QString displayName(const QString& clientKey) const;
    [[nodiscard]] ClientIdentity identity(const QString& clientKey) const;

    /// False when the client is not registered.
    bool setConfiguration(const QString& clientKey, const ConfigurationPointer& configuration);
    /// Null when there is none.
    [[nodiscard]] ConfigurationPointer configuration(const QString& clientKey, int server) const;
    /// The consumer key of the client's configuration for the server; empty when there is none.
    [[nodiscard]] QString productKey(const QString& clientKey, int server) const;
    [[nodiscard]] OAuth2Settings oauth2(const QString& clientKey) const;
    /// False when the client is not registered.
    bool enableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec);
    bool disableOAuth2(const QString& clientKey);
    /// Does nothing when the client is not registered or the type is unknown.
    void enableCache(const QString& clientKey, CacheType type, bool enable);
    [[nodiscard]] bool isCacheEnabled(const QString& clientKey, CacheType type) const;
    /// A client of this product on this server has OAuth2 enabled.
    [[nodiscard]] bool isOAuth2Used(const QString& productKey, int server) const;
    [[nodiscard]] bool hasAnyConfiguration(const QString& clientKey) const;
    /// The keys of the clients that have a configuration for the server.
    [[nodiscard]] QStringList configuredFor(int server) const;
    /// The keys of the clients that are this product on the server.
    [[nodiscard]] QStringList clientsOf(const QString& productKey, int server) const;

private:
    [[nodiscard]] QString describeAll() const;
    /// `change`: "enabled" or "disabled".
    void logOAuth2(const OAuth2TokenSpec& spec, const QString& change) const;

    const std::shared_ptr<Log::ILogger> m_logger;
    const bool m_isSSOServer;
    mutable QReadWriteLock m_lock;
    QMap<QString, std::shared_ptr<ClientInfo>> m_clients;
};

} // namespace Velquor::WebServices::Internal
