#pragma once

#include "Session/Core/SessionState.h"
#include "Session/Store/LoginStateMerge.h"

namespace Velquor::WebServices::Internal {

/// What this process holds, without its products, for the merge with the file. Thread: any, under the login session lock.
[[nodiscard]] HeldLogin heldLogin(const SessionState& state);

} // namespace Velquor::WebServices::Internal
