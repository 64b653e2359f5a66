#pragma once

#include <QString>

namespace Vqws {

/// Names the other users with access to a file or folder, apart from the system and its administrators, in words that the user
/// knows. Empty when there are none, or no such file. Thread: any.
[[nodiscard]] QString othersWithAccess(const QString& path);

/// The name of another user who owns the file or folder. Empty when the user does, or where access lists decide (Windows).
[[nodiscard]] QString otherOwner(const QString& path);

/// What the user does about a folder in which something belongs to `owner`: a command to enter, or for root, a sentence.
[[nodiscard]] QString cureForOtherOwner(const QString& folder, const QString& owner);

/// A command for the user to enter, which restricts the file or folder to the user alone.
[[nodiscard]] QString commandToMakePrivate(const QString& path);

} // namespace Vqws
