#pragma once

#include <QtGlobal>

namespace Velquor::TestKit {

/// Suspends a process in the middle of its work, as a debugger or a sleeping machine does, and resumes it. Thread: any. False
/// when the system refuses.
[[nodiscard]] bool stopProcess(qint64 processId);
[[nodiscard]] bool continueProcess(qint64 processId);

} // namespace Velquor::TestKit
