#pragma once

#include <QUrl>

namespace Velquor::WebServices {
class WebServicesConfigurationImp;
}

namespace Velquor::WebServices::Internal {

/// The URL with the identity of the product in its query: serial number, product line, release and feature, each only when it is
/// not empty. Thread: any.
[[nodiscard]] QUrl withIdentity(const QUrl& url, const WebServicesConfigurationImp& configuration);

} // namespace Velquor::WebServices::Internal
