#pragma once

#include <QString>
#include <QStringList>

/// Commands that a user copies into a shell: `sh` on Posix, the command prompt on Windows. Thread: any.
namespace Vqws::ShellCommands {

/// One word of a command, whatever characters it has.
[[nodiscard]] QString word(const QString& text);

/// The second command runs after the first one, also when that failed.
[[nodiscard]] QString inTurn(const QString& first, const QString& second);

/// Restricts the file or folder to the user alone.
[[nodiscard]] QString makePrivate(const QString& path);
/// Gives the file or folder, with all that is in it, to the user. Empty where access lists decide (Windows).
[[nodiscard]] QString giveToUser(const QString& path);
[[nodiscard]] QString makeReadable(const QString& path);
[[nodiscard]] QString makeWritable(const QString& path);
[[nodiscard]] QString moveAway(const QString& path);
[[nodiscard]] QString remove(const QStringList& paths);
/// Removes a variable from the environment of the shell.
[[nodiscard]] QString unset(const QString& variable);
/// Removes a setting of the library.
[[nodiscard]] QString removeSetting(const QString& name);
/// Ends the process at once, also one that a debugger has stopped.
[[nodiscard]] QString endProcess(const QString& id);

} // namespace Vqws::ShellCommands
