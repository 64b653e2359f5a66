#include "VqUtil/Platform/EventHook.h"

namespace Velquor::Util::EventHook {

bool isInstalled() {
    return false;
}

Result<void> install() {
    return Failure{QStringLiteral("This system has no message queue to hook. Call DispatchEvent from the main loop instead.")};
}

void remove() {}

} // namespace Velquor::Util::EventHook
