#pragma once

#include <QtGlobal>

namespace Velquor::TestKit {

/// Lets a process stand still in the middle of whatever it does, as a debugger or a sleeping machine does, and go on. Thread:
/// any. False when the system refuses.
[[nodiscard]] bool stopProcess(qint64 processId);
[[nodiscard]] bool continueProcess(qint64 processId);

} // namespace Velquor::TestKit
