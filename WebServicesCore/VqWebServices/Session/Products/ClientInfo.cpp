#include "Session/Products/ClientInfo.h"

#include "Values/OAuth2TokenSpecImp.h"
#include "Values/WebServicesConfigurationImp.h"

#include <QFileInfo>
#include <utility>

namespace Velquor::WebServices::Internal {

OAuth2TokenSpec OAuth2Settings::legacySpec() {
    OAuth2TokenSpec spec;
    OAuth2TokenSpecImp::of(spec).legacy = true;
    return spec;
}

OAuth2TokenSpec OAuth2Settings::defaultSpec() const {
    return specs.isEmpty() ? legacySpec() : specs.first();
}

ClientInfo::ClientInfo(ClientIdentity identity)
    : m_identity(std::move(identity)) {}

QString ClientInfo::displayName(bool isSSOServer) const {
    const QString program = QFileInfo(m_identity.productExeFile).baseName();
    const QString processId = QString::number(m_identity.processId);
    if (m_identity.productName.isEmpty())
        return QStringLiteral("%1.%2").arg(program, processId);
    return isSSOServer ? QStringLiteral("%1.%2.%3").arg(m_identity.productName, program, processId) : m_identity.productName;
}

bool ClientInfo::enableOAuth2(const OAuth2TokenSpec& spec) {
    const bool wasEnabled = std::exchange(m_oauth2.isEnabled, true);
    const bool isKnown = m_oauth2.specs.contains(spec);
    if (!isKnown)
        m_oauth2.specs += spec;
    return !wasEnabled || !isKnown;
}

QVector<OAuth2TokenSpec> ClientInfo::disableOAuth2() {
    m_oauth2.isEnabled = false;
    return std::exchange(m_oauth2.specs, {});
}

void ClientInfo::enableCache(int type, bool enable) {
    if (enable)
        m_caches.insert(type);
    else
        m_caches.remove(type);
}

void ClientInfo::setConfiguration(const ConfigurationPointer& configuration) {
    m_configurations.insert(configuration->GetServer(), configuration);
    m_productKeys.insert(configuration->GetServer(), WebServicesConfigurationImp::of(*configuration).consumerKey.toText());
}

} // namespace Velquor::WebServices::Internal
