#pragma once

#include <QString>

namespace Vqws {

/// Names the other users with access to a file or folder, apart from the system and its administrators, in words that the user
/// knows. Empty when there are none, or no such file. Thread: any.
[[nodiscard]] QString othersWithAccess(const QString& path);

/// The name of another user who owns the file or folder. Empty when the user does, or where access lists decide (Windows).
[[nodiscard]] QString otherOwner(const QString& path);

/// The user may do everything to every file.
[[nodiscard]] bool isRoot();

/// The file refuses to be replaced by a new one. Not so where only the rights of its folder decide (Posix).
[[nodiscard]] bool isWriteProtected(const QString& path);

} // namespace Vqws
