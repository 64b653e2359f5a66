#pragma once

#include "VqUtil/Locks/IProcessGuard.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// Remembers that a refresh was sent and its answer has not arrived, also when the process dies. Thread: any, under the lock of
/// the refresh.
class IPendingRefresh {
public:
    virtual ~IPendingRefresh() = default;
    [[nodiscard]] virtual bool isSet() const = 0;
    virtual void set() = 0;
    virtual void clear() = 0;
};

/// Makes what the processes of a user share about one token request: its lock, and the mark of a refresh without an answer.
///
/// Thread: any. Owner: shared by the token workers. Errors: as of what it makes.
class IRequestClaims {
public:
    virtual ~IRequestClaims() = default;
    [[nodiscard]] virtual std::unique_ptr<Util::IProcessGuard> makeGuard(const QString& name, const QString& folder) = 0;
    [[nodiscard]] virtual std::unique_ptr<IPendingRefresh> makePendingRefresh(const QString& keyDigest,
                                                                              const QString& folder) = 0;
};

} // namespace Velquor::WebServices::Internal
