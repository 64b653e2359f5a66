#pragma once

#include "Tokens/IRequestClaims.h"

namespace Velquor::WebServices::Internal {

/// Locks and marks of the operating system, in a folder. Without state; thread, owner and errors: as of IRequestClaims.
class SystemRequestClaims final : public IRequestClaims {
public:
    [[nodiscard]] std::unique_ptr<Util::IProcessGuard> makeGuard(const QString& name, const QString& folder) override;
    [[nodiscard]] std::unique_ptr<IPendingRefresh> makePendingRefresh(const QString& keyDigest, const QString& folder) override;
    [[nodiscard]] std::unique_ptr<IQueryFailures> makeQueryFailures(const QString& lockName, const QString& folder) override;
};

} // namespace Velquor::WebServices::Internal
