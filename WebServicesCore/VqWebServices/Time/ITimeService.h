#pragma once

#include "Time/ITimeProvider.h"

namespace Velquor::OAuth {

/// The clock of the server, for those who sign and for those who are told that their time stamps are wrong.
///
/// Thread: any. Owner: shared by the runtime, the signer's host and the token workers. Errors: the service's own, in its log.
class ITimeService : public ITimeProvider {
public:
    /// Returns at once; the first query follows on the service's own thread.
    virtual void start() = 0;

    /// Ends the service for good: when this has returned nothing of it runs any more.
    virtual void stop() = 0;

    /// To be told after a server has refused a time stamp: asks a time server anew, starting the service when it does not run.
    virtual void handleIncorrectSystemTime() = 0;
};

} // namespace Velquor::OAuth
