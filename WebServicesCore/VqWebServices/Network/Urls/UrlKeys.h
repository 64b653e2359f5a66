#pragma once

#include <QString>
#include <VqWebServices/WebServicesUrlCode.h>

namespace Velquor::WebServices::Internal {

/// The name of a URL code in the URL configuration file; empty for an unknown code.
[[nodiscard]] QString urlKey(WebServicesUrlCode code);

} // namespace Velquor::WebServices::Internal
