#pragma once

#include "Time/ITimeSource.h"
#include "Time/TimeServiceOptions.h"
#include "VqLog/ILogger.h"

#include <memory>

namespace Velquor::OAuth {

/// What the time service is built on; none of them may be empty. Thread: any. Owner: shared.
struct TimeServiceDependencies {
    TimeServiceOptions options;
    std::shared_ptr<const ITimeSource> source;
    std::shared_ptr<Log::ILogger> logger;
    std::shared_ptr<Log::ILogger> networkLogger; ///< for the exchanges below
};

} // namespace Velquor::OAuth
