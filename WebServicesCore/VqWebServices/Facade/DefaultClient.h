#pragma once

#include "Facade/WebServicesManagerImp.h"

namespace Velquor::WebServices::Internal {

/// Where the operations without a client key go: to the keyed facade, with the key of the process's default client. Thread: any.

[[nodiscard]] inline WebServicesManagerEx& keyed() {
    return WebServicesManagerImp::instance();
}

[[nodiscard]] inline QString self() {
    return WebServicesManagerImp::defaultClientKey();
}

} // namespace Velquor::WebServices::Internal
