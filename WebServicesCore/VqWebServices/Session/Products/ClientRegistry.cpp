#include "Session/Products/ClientRegistry.h"

#include "Caches/CacheStore.h"
#include "Values/OAuth2TokenSpecImp.h"

#include <QReadLocker>
#include <QWriteLocker>
#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

ClientRegistry::ClientRegistry(std::shared_ptr<Log::ILogger> logger, bool isSSOServer)
    : m_logger(std::move(logger))
    , m_isSSOServer(isSSOServer) {}

void ClientRegistry::add(const ClientIdentity& identity) {
    const QString name = ClientInfo(identity).displayName(m_isSSOServer);
    m_logger->information(QStringLiteral("Adding client %1").arg(name));
    const QWriteLocker lock(&m_lock);
    if (!m_clients.contains(identity.clientKey)) {
        m_logger->debug(QStringLiteral("Creating client info object for product %1").arg(name));
        m_clients.insert(identity.clientKey, std::make_shared<ClientInfo>(identity));
    }
    m_logger->information(
        QStringLiteral("Added client %1. Clients (%2):%3").arg(name, QString::number(m_clients.size()), describeAll()));
}

void ClientRegistry::remove(const QString& clientKey) {
    const QString name = displayName(clientKey);
    const QWriteLocker lock(&m_lock);
    if (m_clients.contains(clientKey)) {
        m_logger->debug(QStringLiteral("Deleting product info and all configurations"));
        m_clients.remove(clientKey);
    }
    m_logger->information(
        QStringLiteral("Removed client %1. Clients (%2):%3").arg(name, QString::number(m_clients.size()), describeAll()));
}

QString ClientRegistry::describeAll() const {
    QStringList names;
    for (const auto& client : m_clients)
        names += client->displayName(m_isSSOServer);
    return names.isEmpty() ? QString() : QLatin1Char(' ') + names.join(QStringLiteral(", "));
}

QVector<ClientInfo> ClientRegistry::all() const {
    const QReadLocker lock(&m_lock);
    QVector<ClientInfo> copies;
    for (const auto& client : m_clients)
        copies.append(*client);
    return copies;
}

bool ClientRegistry::contains(const QString& clientKey) const {
    const QReadLocker lock(&m_lock);
    return m_clients.contains(clientKey);
}

QString ClientRegistry::displayName(const QString& clientKey) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client ? client->displayName(m_isSSOServer) : QStringLiteral("(unknown client)");
}

ClientIdentity ClientRegistry::identity(const QString& clientKey) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client ? client->identity() : ClientIdentity();
}

bool ClientRegistry::setConfiguration(const QString& clientKey, const ConfigurationPointer& configuration) {
    const QWriteLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    if (client)
        client->setConfiguration(configuration);
    return client != nullptr;
}

ConfigurationPointer ClientRegistry::configuration(const QString& clientKey, int server) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client ? client->configuration(server) : ConfigurationPointer();
}

QString ClientRegistry::productKey(const QString& clientKey, int server) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client ? client->productKey(server) : QString();
}

OAuth2Settings ClientRegistry::oauth2(const QString& clientKey) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client ? client->oauth2() : OAuth2Settings();
}

bool ClientRegistry::enableOAuth2(const QString& clientKey, const OAuth2TokenSpec& spec) {
    const QWriteLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    if (!client)
        return false;
    if (client->enableOAuth2(spec))
        logOAuth2(spec, QStringLiteral("enabled"));
    return true;
}

bool ClientRegistry::disableOAuth2(const QString& clientKey) {
    const QWriteLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    if (!client)
        return false;
    const QVector<OAuth2TokenSpec> disabled = client->disableOAuth2();
    for (const OAuth2TokenSpec& spec : disabled)
        logOAuth2(spec, QStringLiteral("disabled"));
    return true;
}

void ClientRegistry::logOAuth2(const OAuth2TokenSpec& spec, const QString& change) const {
    const OAuth2TokenSpecImp& data = OAuth2TokenSpecImp::of(spec);
    if (data.legacy)
        m_logger->information(QStringLiteral("OAuth2 %1 in client info").arg(change));
    else
        m_logger->information(QStringLiteral("OAuth2 %1 in client info for OAuth2 token spec %2").arg(change, data.toText()));
}

void ClientRegistry::enableCache(const QString& clientKey, CacheType type, bool enable) {
    const QWriteLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    if (client && std::find(cacheTypes.begin(), cacheTypes.end(), type) != cacheTypes.end())
        client->enableCache(static_cast<int>(type), enable);
}

bool ClientRegistry::isCacheEnabled(const QString& clientKey, CacheType type) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client && client->isCacheEnabled(static_cast<int>(type));
}

bool ClientRegistry::isOAuth2Used(const QString& productKey, int server) const {
    const QReadLocker lock(&m_lock);
    return std::any_of(m_clients.begin(), m_clients.end(), [&](const auto& client) {
        return client->oauth2().isEnabled && client->productKey(server) == productKey;
    });
}

bool ClientRegistry::hasAnyConfiguration(const QString& clientKey) const {
    const QReadLocker lock(&m_lock);
    const auto client = m_clients.value(clientKey);
    return client && client->hasConfigurations();
}

QStringList ClientRegistry::configuredFor(int server) const {
    const QReadLocker lock(&m_lock);
    QStringList keys;
    for (const auto& client : m_clients) {
        if (client->configuration(server))
            keys += client->identity().clientKey;
    }
    return keys;
}

QStringList ClientRegistry::clientsOf(const QString& productKey, int server) const {
    const QReadLocker lock(&m_lock);
    QStringList keys;
    for (const auto& client : m_clients) {
        if (client->configuration(server) && client->productKey(server) == productKey)
            keys += client->identity().clientKey;
    }
    return keys;
}

} // namespace Velquor::WebServices::Internal
