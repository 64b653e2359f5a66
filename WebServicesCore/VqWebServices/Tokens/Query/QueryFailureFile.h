#pragma once

#include <QString>
#include <QtGlobal>

namespace Velquor::WebServices::Internal {

/// The last failed query of a token, for all processes of the user.
///
/// Processes that wait for the query of another one must not each send it again when it fails. They read here that it has just
/// failed, and how many times. A file, since it must survive the process that has sent the query: when that one has died, no
/// new failure appears, and another process sends the next query. Thread: any, under the lock of the query. Owner: the query
/// worker. Errors: a file that cannot be read or written counts as no failure.
class QueryFailureFile {
public:
    QueryFailureFile(const QString& lockName, const QString& folder);

    struct Failure {
        int count = 0; ///< Failures in a row; 0: none.
        qint64 timeMs = 0;
        QString signIn; ///< Identifies the sign-in, without naming the user.

        [[nodiscard]] bool operator==(const Failure& other) const {
            return count == other.count && timeMs == other.timeMs && signIn == other.signIn;
        }
        [[nodiscard]] bool isWithin(qint64 periodMs, qint64 nowMs) const {
            return count > 0 && nowMs >= timeMs && nowMs - timeMs < periodMs;
        }
    };
    /// The text for a sign-in in a failure.
    [[nodiscard]] static QString digest(const QString& signInId);
    /// The last failure for this sign-in.
    [[nodiscard]] Failure read(const QString& signInId) const;
    void write(const Failure& failure) const;
    /// A query has succeeded.
    void remove() const;

private:
    const QString m_path;
};

} // namespace Velquor::WebServices::Internal
