#pragma once

#include "VqUtil/General/Result.h"

namespace Velquor::Util {

/// Delivery of Qt's posted events in a host whose main loop is not Qt's: a hook on the message queue of the calling thread
/// (Windows: `WH_GETMESSAGE`) that delivers them before each message. Other systems have no such queue.
///
/// Thread: that which is served; each thread has a hook of its own, which goes with it. Errors: false and the system's text.
namespace EventHook {

[[nodiscard]] bool isInstalled();
[[nodiscard]] Result<void> install();
void remove();

} // namespace EventHook

} // namespace Velquor::Util
