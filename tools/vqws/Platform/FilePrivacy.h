#pragma once

#include <QString>

namespace Vqws {

/// Names the other users with access to a file or folder, apart from the system and its administrators, in words that the user
/// knows. Empty when there are none, or no such file. Thread: any.
[[nodiscard]] QString othersWithAccess(const QString& path);

/// A command for the user to enter, which restricts the file or folder to the user alone.
[[nodiscard]] QString commandToMakePrivate(const QString& path);

} // namespace Vqws
