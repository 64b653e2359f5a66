#pragma once

#include "Network/Diagnosis/ReplySnapshot.h"
#include "Network/OperationResult.h"

namespace Velquor::WebServices::Internal {

/// How an exchange with a server ended. A plain value.
struct ExchangeOutcome {
    OperationResult result = OperationResult::NotFinished;
    QString message; ///< empty on success
    ReplySnapshot reply;

    [[nodiscard]] bool hasStatus200() const { return !reply.isNull && reply.status == 200 && result == OperationResult::Success; }
    /// What went wrong, in the words of the HTTP and network error; a reply that was cut or cancelled says so.
    [[nodiscard]] QString errorText() const;
    /// What the server, the clock or the TLS library has to say about it; follows `errorText` directly, may be empty.
    [[nodiscard]] QString problemText() const;
};

} // namespace Velquor::WebServices::Internal
