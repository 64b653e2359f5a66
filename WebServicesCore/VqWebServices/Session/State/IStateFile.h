#pragma once

#include "VqUtil/Files/AtomicFile.h"
#include "VqUtil/Files/FileAccess.h"
#include "VqUtil/General/Result.h"

#include <QByteArray>
#include <QString>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Where the text of the login state file is kept, with the lock that all processes of the user share.
///
/// Thread: any. Owner: shared. Errors: results.
class IStateFile {
public:
    virtual ~IStateFile() = default;

    /// Holds the lock between the processes until it is destroyed.
    class ILock {
    public:
        virtual ~ILock() = default;
    };
    /// Waits for the lock at most `timeoutMs` milliseconds. Null when another process held it for that long.
    [[nodiscard]] virtual std::unique_ptr<ILock> lock(int timeoutMs) = 0;
    /// The same for a caller that can do without: that another process holds the lock is no error.
    [[nodiscard]] virtual std::unique_ptr<ILock> tryLock(int timeoutMs) = 0;

    /// The last lock failed since the system refused it, and not since another process holds it.
    [[nodiscard]] virtual bool isLockRefused() const { return false; }
    [[nodiscard]] virtual QString path() const = 0;
    [[nodiscard]] virtual bool exists() const = 0;
    /// Changes with every write of any process.
    [[nodiscard]] virtual Util::FileStamp stamp() const = 0;

    /// Whole under the lock. Without it, whole when every program replaces the file.
    [[nodiscard]] virtual Util::AtomicFile::ReadResult read(qint64 maximumSize) = 0;

    // Only under the lock.
    /// Replaces the whole text. On failure the old one is unchanged.
    [[nodiscard]] virtual Util::Result<void> write(const QByteArray& text) = 0;
    /// Moves a damaged file out of the way. Returns its new name; empty when that failed.
    [[nodiscard]] virtual QString setAside() = 0;

    /// Whether processes that died have left unfinished files. They are removed when the lock is taken.
    [[nodiscard]] virtual bool hasLeftovers() const = 0;
};

} // namespace Velquor::WebServices::Internal
