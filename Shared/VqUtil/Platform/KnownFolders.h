#pragma once

#include <QString>

namespace Velquor::Util {

/// The folders of the system in which the library's data folder lies; without a trailing separator, empty when unknown.
/// Thread: any.

/// Of the user. Windows: FOLDERID_LocalAppData. Posix: `XDG_DATA_HOME`, by default "~/.local/share".
[[nodiscard]] QString localAppDataFolder();

/// Of all users. Windows: FOLDERID_ProgramData. Posix: "/var/lib".
[[nodiscard]] QString programDataFolder();

} // namespace Velquor::Util
