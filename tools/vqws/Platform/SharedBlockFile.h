#pragma once

#include <QString>

namespace Vqws {

// Files and folders that exist on some systems only. Empty on a system without such a file. Thread: any.

/// The file of the block that the processes of the user share.
[[nodiscard]] QString sharedBlockFile(const QString& dataFolder);

/// The file of the key that encrypts the secrets in the login state file.
[[nodiscard]] QString userKeyFile(const QString& dataFolder);

/// The text of the variable XDG_DATA_HOME when it is no full path, so that the library ignores it.
[[nodiscard]] QString ignoredDataFolder();

} // namespace Vqws
