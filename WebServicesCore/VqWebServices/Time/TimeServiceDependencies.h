#pragma once

#include "Time/ITimeSource.h"
#include "Time/TimeServiceOptions.h"
#include "VqLog/ILogger.h"

#include <memory>

namespace Velquor::OAuth {

/// The dependencies of the time service; none may be null. Thread: any. Owner: shared.
struct TimeServiceDependencies {
    TimeServiceOptions options;
    std::shared_ptr<const ITimeSource> source;
    std::shared_ptr<Log::ILogger> logger;
    std::shared_ptr<Log::ILogger> networkLogger; ///< of the exchanges with the time servers
};

} // namespace Velquor::OAuth
