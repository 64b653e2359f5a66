#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// Where Qt looks for its plug-ins, and where the system looks for the TLS libraries, in a host that installs them with this
/// library. Thread: that which initializes the library. Errors: log lines.
namespace PluginPaths {

/// "plugins" beside the host executable and beside the library; the library's folder also goes in front of "PATH".
void setDefaults();

void add(const QString& folder);

} // namespace PluginPaths

} // namespace Velquor::WebServices::Internal
