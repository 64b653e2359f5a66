#pragma once

#include <QString>

namespace Velquor::Util {

/// Whether a process that left its id behind still runs. Thread: any.

/// True when the process can be looked into, still runs and, where a path is given, runs that executable: an id is used again.
/// Paths are compared cleaned and without regard to case; on Windows their first 259 characters. A process that cannot be looked
/// into, such as one of another user, counts as dead.
[[nodiscard]] bool isProcessAlive(qint64 processId, const QString& executablePath);

/// The executable of this process in the form that `isProcessAlive` finds it in; empty when unknown.
[[nodiscard]] QString ownExecutablePath();

} // namespace Velquor::Util
