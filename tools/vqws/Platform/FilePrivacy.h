#pragma once

#include <QString>

namespace Vqws {

/// Who else than the user (and the system and its administrators) has any access to a file or folder, as the user would name
/// them; empty when nobody has, or when there is no such file. Thread: any.
[[nodiscard]] QString othersWithAccess(const QString& path);

/// What gives the file or folder back to the user alone: a command, for the user to enter.
[[nodiscard]] QString commandToMakePrivate(const QString& path);

} // namespace Vqws
