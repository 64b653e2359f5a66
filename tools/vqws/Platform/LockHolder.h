#pragma once

#include <QString>

namespace Vqws {

/// Who holds the lock of the login state file right now.
struct LockHolder {
    bool isHeld = false;
    QString program; ///< name and process id, as far as the system tells them
};

/// Looks without taking the lock away from anybody. `folder` is the one of the login state file. Thread: any.
[[nodiscard]] LockHolder loginStateLockHolder(const QString& folder);

} // namespace Vqws
