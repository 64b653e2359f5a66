#pragma once

#include <QString>
#include <VqWebServices/WebServicesUrlCode.h>

namespace Velquor::WebServices::Internal {

/// The member name in the URL configuration file for a code; empty for an unknown code.
[[nodiscard]] QString urlKey(WebServicesUrlCode code);

} // namespace Velquor::WebServices::Internal
