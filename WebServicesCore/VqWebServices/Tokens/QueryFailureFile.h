#pragma once

#include "Tokens/IRequestClaims.h"

namespace Velquor::WebServices::Internal {

/// The last failed query of a token in a file, which does not name the user. Errors: a file that cannot be read or written counts
/// as no failure.
class QueryFailureFile final : public IQueryFailures {
public:
    QueryFailureFile(const QString& lockName, const QString& folder);

    [[nodiscard]] QueryFailure read(const QString& signInId) const override;
    void write(const QueryFailure& failure) override;
    void remove() override;

private:
    const QString m_path;
};

} // namespace Velquor::WebServices::Internal
