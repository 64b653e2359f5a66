#pragma once

#include <QString>

namespace Velquor::Util {

/// The system's folders for application data, without a trailing separator; empty when unknown.
/// Thread: any.

/// Of the user. Windows: FOLDERID_LocalAppData. Posix: `XDG_DATA_HOME`, by default "~/.local/share".
[[nodiscard]] QString localAppDataFolder();

/// Of all users. Windows: FOLDERID_ProgramData. Posix: "/var/lib".
[[nodiscard]] QString programDataFolder();

/// Where the framework keeps files with settings of this user. Windows: empty, since the registry has them. Posix:
/// `XDG_CONFIG_HOME`, by default "~/.config".
[[nodiscard]] QString settingsFolder();

} // namespace Velquor::Util
