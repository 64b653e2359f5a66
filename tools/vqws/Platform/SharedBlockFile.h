#pragma once

#include <QString>

namespace Vqws {

// Files in which the system keeps what other systems keep elsewhere; empty where there is no such file. Thread: any.

/// The file of the block that the processes of the user share.
[[nodiscard]] QString sharedBlockFile(const QString& dataFolder);

/// The file of the key that the secrets in the login state file are encrypted with.
[[nodiscard]] QString userKeyFile(const QString& dataFolder);

} // namespace Vqws
