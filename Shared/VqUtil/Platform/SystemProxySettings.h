#pragma once

#include <QStringList>

namespace Velquor::Util {

/// The proxy settings of the system, as lines for the log, without user names and passwords.
/// Windows: the per-connection options of WinInet. Posix: the proxy variables of the environment. Thread: any.
[[nodiscard]] QStringList systemProxySettings();

} // namespace Velquor::Util
