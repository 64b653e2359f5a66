#pragma once

#include "Network/Diagnosis/ReplySnapshot.h"
#include "Network/OperationResult.h"
#include "VqLog/ILogger.h"

namespace Velquor::WebServices::Internal {

/// How an exchange with a server ended. A plain value.
struct ExchangeOutcome {
    OperationResult result = OperationResult::NotFinished;
    QString message; ///< empty on success
    ReplySnapshot reply;

    [[nodiscard]] bool hasStatus200() const { return !reply.isNull && reply.status == 200 && result == OperationResult::Success; }
    /// The HTTP and network error as a text; the message before it for a reply that was cut off, and alone for one that was
    /// cancelled.
    [[nodiscard]] QString errorText() const;
    /// What the server, the clock diagnosis and the TLS diagnosis report about it. Follows `errorText` directly; may be empty.
    [[nodiscard]] QString problemText() const;
    /// Writes request and reply of a failed exchange to the log, with all secrets hidden: the server's answer tells the reason.
    /// Without an answer there is none, and a machine that is offline tries often, so the level is debug then.
    void logFailure(Log::ILogger& logger) const;
};

} // namespace Velquor::WebServices::Internal
