#pragma once

#include <QString>

namespace Vqws {

/// The process that currently holds the lock of the login state file.
struct LockHolder {
    bool isHeld = false;
    QString program; ///< Name and process id, as far as the system knows them.
    QString process; ///< The process id alone; empty when the system does not name it.
};

/// Finds the holder and does not disturb it. `folder` is the one of the login state file. Thread: any.
[[nodiscard]] LockHolder loginStateLockHolder(const QString& folder);

} // namespace Vqws
