#pragma once

#include <VqWebServices/WebServicesConfiguration.h>
#include <memory>

namespace Velquor::WebServices {

/// A configuration as it was set by a client; shared by all who use it, never changed.
using ConfigurationPointer = std::shared_ptr<const WebServicesConfiguration>;

} // namespace Velquor::WebServices
