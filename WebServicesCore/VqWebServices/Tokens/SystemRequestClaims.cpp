#include "Tokens/SystemRequestClaims.h"

#include "Tokens/PendingRefreshFile.h"
#include "Tokens/QueryFailureFile.h"
#include "VqUtil/Locks/ProcessGuard.h"

namespace Velquor::WebServices::Internal {

std::unique_ptr<Util::IProcessGuard> SystemRequestClaims::makeGuard(const QString& name, const QString& folder) {
    return std::make_unique<Util::ProcessGuard>(name, folder);
}

std::unique_ptr<IPendingRefresh> SystemRequestClaims::makePendingRefresh(const QString& keyDigest, const QString& folder) {
    return std::make_unique<PendingRefreshFile>(keyDigest, folder);
}

std::unique_ptr<IQueryFailures> SystemRequestClaims::makeQueryFailures(const QString& lockName, const QString& folder) {
    return std::make_unique<QueryFailureFile>(lockName, folder);
}

} // namespace Velquor::WebServices::Internal
