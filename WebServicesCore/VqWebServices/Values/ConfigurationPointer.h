#pragma once

// Before the exported class: MinGW exports the type information of a standard class that it first sees after an exported one.
#include <memory>

#include <VqWebServices/WebServicesConfiguration.h>

namespace Velquor::WebServices::Internal {

/// A configuration as a client has set it. It is shared and never changes.
using ConfigurationPointer = std::shared_ptr<const WebServicesConfiguration>;

} // namespace Velquor::WebServices::Internal
