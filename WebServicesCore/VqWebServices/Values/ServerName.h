#pragma once

#include <QString>
#include <VqWebServices/Server.h>

namespace Velquor::WebServices::Internal {

/// "NoServer", "Production", "Staging", "Development"; "Unknown" for any other value.
[[nodiscard]] QString serverName(int server);

/// True for the servers that can be used: `Production`, `Staging` and `Development`.
[[nodiscard]] bool isRealServer(int server);

} // namespace Velquor::WebServices::Internal
