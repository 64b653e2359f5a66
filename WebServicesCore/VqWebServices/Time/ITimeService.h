#pragma once

#include "Time/ITimeProvider.h"

namespace Velquor::OAuth {

/// The clock of the server: corrects time stamps, and is updated when a server refuses one.
///
/// Thread: any. Owner: shared by the runtime, the signer's host and the token workers. Errors: the service's own, in its log.
class ITimeService : public ITimeProvider {
public:
    /// Returns at once; the first query follows on the service's own thread.
    virtual void start() = 0;

    /// Ends the service for good: after this has returned, none of its code runs.
    virtual void stop() = 0;

    /// Call it after a server has refused a time stamp: queries a time server, and starts the service if it is not running.
    virtual void handleIncorrectSystemTime() = 0;
};

} // namespace Velquor::OAuth
