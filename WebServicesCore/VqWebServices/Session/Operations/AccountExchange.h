#pragma once

#include "Session/State/SessionDependencies.h"
#include "Tokens/SignedRequest.h"

#include <VqWebServices/LoginError.h>

namespace Velquor::WebServices::Internal {

/// How a signed exchange with the account server ended. A plain value.
struct AccountReply {
    bool isSigned = false; ///< False: the request could not be signed and was not sent.
    ExchangeOutcome outcome;

    [[nodiscard]] const ReplySnapshot& reply() const { return outcome.reply; }
    [[nodiscard]] bool hasStatus200() const { return isSigned && outcome.hasStatus200(); }
    [[nodiscard]] QString errorText() const { return outcome.errorText(); }
    [[nodiscard]] QString problemText() const { return outcome.problemText(); }
    /// The reason for the products.
    [[nodiscard]] LoginErrorEx loginError() const;
    /// The exchange for the log, without any secret.
    [[nodiscard]] QString dump() const { return outcome.reply.dump.join(QLatin1Char('\n')); }
};

/// Signs a GET and waits for its reply, at most `exchangeTimeoutMs`. Thread: any.
[[nodiscard]] AccountReply exchangeSignedGet(const SessionDependencies& services, const QUrl& url, const SigningKeys& keys,
                                             const OAuth::Parameters& parameters = {});

} // namespace Velquor::WebServices::Internal
