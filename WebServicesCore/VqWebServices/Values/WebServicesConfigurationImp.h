#pragma once

#include "VqUtil/Crypto/ProtectedText.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <VqWebServices/WebServicesConfiguration.h>

namespace Velquor::WebServices {

/// The data of a `WebServicesConfiguration`. Thread: as its owner. Owner: one `WebServicesConfiguration`.
class WebServicesConfigurationImp {
public:
    static WebServicesConfigurationImp& of(WebServicesConfiguration& configuration) { return *configuration.m_imp; }
    static const WebServicesConfigurationImp& of(const WebServicesConfiguration& configuration) { return *configuration.m_imp; }

    /// Compares everything except the extra values.
    [[nodiscard]] bool equals(const WebServicesConfigurationImp& other) const;

    /// True when the configuration can sign: it has a consumer key and secret and names a real server.
    [[nodiscard]] bool isValid() const;

    /// Identifies the consumer key in names of files and locks without showing it: hexadecimal digits of its digest. Computed on
    /// each call, so that it never belongs to an earlier key.
    [[nodiscard]] QString derivedKey() const;

    /// The fields for the state dump, without keys and secrets.
    [[nodiscard]] QJsonObject toDumpJson() const;

    Util::ProtectedText consumerKey;
    Util::ProtectedText consumerSecret;
    QString serialNumber;
    QString productLineCode;
    QString upiRelease;
    QString upiMaster;
    QString upiBuild;
    QString featureName;
    QString featureVersion;
    Server server = Production;
    QMap<QString, QString> extraValues;
    Util::ProtectedText oauth2ConsumerKey;
    Util::ProtectedText oauth2ConsumerSecret;
    QString oauth2AccessTokenScope;
};

} // namespace Velquor::WebServices
