#include "Session/ClientInfo.h"

#include "Values/WebServicesConfigurationImp.h"

#include <QFileInfo>
#include <utility>

namespace Velquor::WebServices {

ClientInfo::ClientInfo(ClientIdentity identity)
    : m_identity(std::move(identity)) {}

QString ClientInfo::displayName() const {
    if (!m_identity.productName.isEmpty())
        return m_identity.productName;
    return QStringLiteral("%1.%2").arg(QFileInfo(m_identity.productExeFile).baseName()).arg(m_identity.processId);
}

void ClientInfo::setConfiguration(const ConfigurationPointer& configuration) {
    m_configurations.insert(configuration->GetServer(), configuration);
    m_productKeys.insert(configuration->GetServer(), WebServicesConfigurationImp::of(*configuration).consumerKey.toText());
}

} // namespace Velquor::WebServices
