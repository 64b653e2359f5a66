#pragma once

#include "VqUtil/General/Result.h"

namespace Velquor::Util {

/// Delivers Qt's posted events in a host whose main loop is not Qt's. On Windows a hook on the message queue of the calling
/// thread (`WH_GETMESSAGE`) delivers them before each message. Other systems have no such queue, and `install` fails there.
///
/// Thread: the one served. Hooks are per thread and end with it. Errors: the system's reason.
namespace EventHook {

[[nodiscard]] bool isInstalled();
[[nodiscard]] Result<void> install();
void remove();

} // namespace EventHook

} // namespace Velquor::Util
