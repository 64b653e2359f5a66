#pragma once

#include <QString>

namespace Velquor::Util {

/// Facts about the process that has loaded the library. Paths are absolute with "/" as separator. Thread: any.

/// The host's executable file; empty when unknown.
[[nodiscard]] QString hostExecutablePath();

/// The library's own file: the shared library, or the executable when the library is linked statically.
[[nodiscard]] QString ownModulePath();

/// The file of the module that contains a function; empty when unknown.
[[nodiscard]] QString modulePathOf(const void* address);

/// The version of a file as "a.b.c.d", from its version resource; empty when it has none (always, on Posix).
[[nodiscard]] QString fileVersion(const QString& path);

/// The full path of a module (shared library) that is loaded in this process, by its file name; empty when it is not loaded.
/// On Windows the comparison ignores case.
[[nodiscard]] QString loadedModulePath(const QString& fileName);

/// The variable "PATH" of this process, at most 32767 characters; empty when it cannot be read.
[[nodiscard]] QString searchPath();

/// True when the folder is the first in a text of the form of "PATH".
[[nodiscard]] bool isFirstInSearchPath(const QString& folder, const QString& path);

/// Puts the folder in front of `path` and sets the variable "PATH" of this process to the result. False when the system refuses.
[[nodiscard]] bool prependToSearchPath(const QString& folder, const QString& path);

/// The version of the running system: "major.minor.build".
[[nodiscard]] QString systemVersion();

/// The product name and version of the system, for the log.
[[nodiscard]] QString systemName();

} // namespace Velquor::Util
