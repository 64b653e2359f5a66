#pragma once

#include <QString>

namespace Velquor::Util {

/// Checks whether a process that has recorded its id still runs. Thread: any.

/// True when the process runs and, if a path is given, runs that executable: the system reuses process ids. Paths are compared
/// cleaned and ignoring case; on Windows only their first 259 characters. A process that cannot be inspected, such as one of
/// another user, counts as dead.
[[nodiscard]] bool isProcessAlive(qint64 processId, const QString& executablePath);

/// The executable of this process, in the form that `isProcessAlive` compares. Empty when unknown.
[[nodiscard]] QString ownExecutablePath();

} // namespace Velquor::Util
