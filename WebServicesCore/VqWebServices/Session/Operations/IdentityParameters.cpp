#include "Session/Operations/IdentityParameters.h"

#include "Signing/VqOAuthWrapper.h"
#include "Values/WebServicesConfigurationImp.h"

namespace Velquor::WebServices::Internal {

QUrl withIdentity(const QUrl& url, const WebServicesConfigurationImp& configuration) {
    const QPair<const char*, QString> fields[] = {
        {"x_oauth_vlqr_serial_number", configuration.serialNumber},
        {"x_oauth_vlqr_product_line_code", configuration.productLineCode},
        {"x_upi_release", configuration.upiRelease},
        {"x_upi_master", configuration.upiMaster},
        {"x_upi_build", configuration.upiBuild},
        {"x_feature_name", configuration.featureName},
        {"x_feature_version", configuration.featureVersion},
    };
    OAuth::Parameters parameters;
    for (const auto& field : fields) {
        if (!field.second.isEmpty())
            parameters.append({field.first, field.second.toUtf8()});
    }
    return parameters.isEmpty() ? url : QUrl::fromEncoded(OAuth::withParameters(url.toEncoded(), OAuth::encodeQuery(parameters)));
}

} // namespace Velquor::WebServices::Internal
