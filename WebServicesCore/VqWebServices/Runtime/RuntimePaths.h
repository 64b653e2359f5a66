#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The folders and files of the library's own data. Thread: any.
namespace RuntimePaths {

/// Whether the data folder is the one of all users: the setting "EnableSSOForAllUsers" of the library, read once for the process.
[[nodiscard]] bool isSSOEnabledForAllUsers();

/// "Velquor/Web Services" under the data folder of the user, or of all users; empty when that folder is unknown.
[[nodiscard]] QString dataPath(bool forAllUsers);
[[nodiscard]] QString dataPath();

/// Where the user's key lies: always with the user, also when the state is for all users.
[[nodiscard]] QString userKeyFolder();

[[nodiscard]] QString loginStateFile();

/// The cache folder of one product: `productId` is a text that may be shown and stands for its consumer key.
[[nodiscard]] QString loginStateCacheFolder(const QString& productId, bool local);

} // namespace RuntimePaths

} // namespace Velquor::WebServices::Internal
