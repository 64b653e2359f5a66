#include "Values/WebServicesConfigurationImp.h"

#include "Values/ServerName.h"

#include <QCryptographicHash>

namespace Velquor::WebServices {

using namespace Internal;

bool WebServicesConfigurationImp::equals(const WebServicesConfigurationImp& other) const {
    return server == other.server && consumerKey == other.consumerKey && consumerSecret == other.consumerSecret
           && serialNumber == other.serialNumber && productLineCode == other.productLineCode && upiRelease == other.upiRelease
           && upiMaster == other.upiMaster && upiBuild == other.upiBuild && featureName == other.featureName
           && featureVersion == other.featureVersion && oauth2ConsumerKey == other.oauth2ConsumerKey
           && oauth2ConsumerSecret == other.oauth2ConsumerSecret && oauth2AccessTokenScope == other.oauth2AccessTokenScope;
}

bool WebServicesConfigurationImp::isValid() const {
    return isRealServer(server) && !consumerKey.isEmpty() && !consumerSecret.isEmpty();
}

QString WebServicesConfigurationImp::derivedKey() const {
    const QByteArray digest = QCryptographicHash::hash(consumerKey.reveal().view(), QCryptographicHash::Sha256);
    return QLatin1String(digest.toHex().left(32));
}

QJsonObject WebServicesConfigurationImp::toDumpJson() const {
    return {{QStringLiteral("Server"), static_cast<int>(server)},
            {QStringLiteral("SerialNumber"), serialNumber},
            {QStringLiteral("ProductLineCode"), productLineCode},
            {QStringLiteral("UPIRelease"), upiRelease},
            {QStringLiteral("UPIMaster"), upiMaster},
            {QStringLiteral("UPIBuild"), upiBuild},
            {QStringLiteral("FeatureName"), featureName},
            {QStringLiteral("FeatureVersion"), featureVersion},
            {QStringLiteral("OAuth2AccessTokenScope"), oauth2AccessTokenScope}};
}

} // namespace Velquor::WebServices
