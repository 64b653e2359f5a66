#pragma once

#include "VqUtil/Locks/IProcessGuard.h"

#include <memory>

namespace Velquor::WebServices::Internal {

/// Remembers that the server may have made the present token invalid, also when the process dies: the answer to a refresh has not
/// arrived, or its token could not be written. Thread: any, under the lock of the refresh or of the query.
class IPendingRefresh {
public:
    virtual ~IPendingRefresh() = default;
    [[nodiscard]] virtual bool isSet() const = 0;
    virtual void set() = 0;
    virtual void clear() = 0;
};

/// A failed query of a token. A plain value.
struct QueryFailure {
    int count = 0; ///< Failures in a row; 0: none.
    qint64 timeMs = 0;
    QString signInId; ///< The sign-in for which the query was done.

    [[nodiscard]] bool operator==(const QueryFailure& other) const {
        return count == other.count && timeMs == other.timeMs && signInId == other.signInId;
    }
    [[nodiscard]] bool isWithin(qint64 periodMs, qint64 nowMs) const {
        return count > 0 && nowMs >= timeMs && nowMs - timeMs < periodMs;
    }
};

/// The last failed query of a token, for all processes of the user. It outlives the process that has sent the query.
///
/// Processes that wait for the query of another one must not each send it again when it fails. They read here that it has just
/// failed, and how many times. When the process that has failed dies, no new failure appears, and another process sends the next
/// query. Thread: any, under the lock of the query.
class IQueryFailures {
public:
    virtual ~IQueryFailures() = default;
    /// The last failure for this sign-in; none (count 0) when there was none.
    [[nodiscard]] virtual QueryFailure read(const QString& signInId) const = 0;
    virtual void write(const QueryFailure& failure) = 0;
    /// A query has succeeded.
    virtual void remove() = 0;
};

/// Makes what the processes of a user share about one token request: its lock, the mark of a refresh without an answer, and the
/// last failure of a query.
///
/// Thread: any. Owner: shared by the token workers. Errors: as of what it makes.
class IRequestClaims {
public:
    virtual ~IRequestClaims() = default;
    [[nodiscard]] virtual std::unique_ptr<Util::IProcessGuard> makeGuard(const QString& name, const QString& folder) = 0;
    [[nodiscard]] virtual std::unique_ptr<IPendingRefresh> makePendingRefresh(const QString& keyDigest,
                                                                              const QString& folder) = 0;
    [[nodiscard]] virtual std::unique_ptr<IQueryFailures> makeQueryFailures(const QString& lockName, const QString& folder) = 0;
};

} // namespace Velquor::WebServices::Internal
