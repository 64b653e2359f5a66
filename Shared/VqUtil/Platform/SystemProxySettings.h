#pragma once

#include <QStringList>

namespace Velquor::Util {

/// How the system says its network is reached, in lines for the log; never with a proxy's user or password.
/// Windows: the per-connection options of WinInet. Posix: the proxy variables of the environment. Thread: any.
[[nodiscard]] QStringList systemProxySettings();

} // namespace Velquor::Util
