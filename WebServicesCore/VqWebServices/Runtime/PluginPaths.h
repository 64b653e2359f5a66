#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The search paths for Qt's plug-ins and for the TLS libraries, in a host that installs them with this library. Thread: the one
/// that initializes the library. Errors: log lines.
namespace PluginPaths {

/// Adds "plugins" next to the host executable and next to the library. Puts the library's folder in front of "PATH".
void setDefaults();

void add(const QString& folder);

} // namespace PluginPaths

} // namespace Velquor::WebServices::Internal
