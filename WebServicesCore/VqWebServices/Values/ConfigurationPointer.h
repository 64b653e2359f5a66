#pragma once

// Before the exported class: what MinGW meets after one it would export with it.
#include <memory>

#include <VqWebServices/WebServicesConfiguration.h>

namespace Velquor::WebServices::Internal {

/// A configuration as it was set by a client; shared by all who use it, never changed.
using ConfigurationPointer = std::shared_ptr<const WebServicesConfiguration>;

} // namespace Velquor::WebServices::Internal
