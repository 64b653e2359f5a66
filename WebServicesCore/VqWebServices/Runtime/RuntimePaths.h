#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The folders and files of the library's own data. Thread: any.
namespace RuntimePaths {

/// True when the data folder is the one of all users: the library setting "EnableSSOForAllUsers", for the user to whom that
/// folder belongs. The first such user creates it. Decided once per process, with a log line when the setting is ignored.
[[nodiscard]] bool isSSOEnabledForAllUsers();

/// "Velquor/Web Services" under the data folder of the user, or of all users; empty when that folder is unknown.
[[nodiscard]] QString dataPath(bool forAllUsers);
[[nodiscard]] QString dataPath();

/// The folder of the user's key. It is always the user's own, even when the state is for all users.
[[nodiscard]] QString userKeyFolder();

[[nodiscard]] QString loginStateFile();

/// The cache folder of one product. `productId` identifies its consumer key without showing it.
[[nodiscard]] QString loginStateCacheFolder(const QString& productId, bool local);

} // namespace RuntimePaths

} // namespace Velquor::WebServices::Internal
