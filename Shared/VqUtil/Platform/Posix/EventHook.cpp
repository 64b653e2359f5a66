#include "VqUtil/Platform/EventHook.h"

namespace Velquor::Util::EventHook {

bool isInstalled() {
    return false;
}

bool install(QString* error) {
    *error = QStringLiteral("This system has no message queue to hook. Call DispatchEvent from the main loop instead.");
    return false;
}

void remove() {}

} // namespace Velquor::Util::EventHook
