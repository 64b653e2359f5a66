#pragma once

#include "Session/State/IStateFile.h"
#include "Session/State/LoginStateDocument.h"
#include "VqLog/ILogger.h"

#include <QReadWriteLock>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The login state file "LoginState.xml" that all processes of the user share, as one process reads and writes it. It is read
/// whole and written whole.
///
/// Thread: any, one at a time (the login session lock); the stamps at any time. Owner: the login session. Errors: log lines and
/// the results below. Every write happens under a `Guard`, and every read but a look and a start that find it taken; a guard is
/// never held across a network exchange.
class LoginStateFile {
public:
    /// `now`: the date of a document that is started anew.
    LoginStateFile(std::shared_ptr<IStateFile> storage, std::function<QDateTime()> now, std::shared_ptr<Log::ILogger> logger);

    /// For operations that must write the file: many times what one read and write takes. Bounded, since a process that was
    /// stopped while it held the lock must not stop the others for ever. After one such wait in vain the others are brief until
    /// the lock could be taken: an operation that takes it several times waits once.
    static constexpr int patientTimeoutMs = 10000;
    /// For operations that can do without the file's latest state.
    static constexpr int briefTimeoutMs = 250;
    /// For a look at what others wrote, which every operation of the host makes.
    static constexpr int lookTimeoutMs = 2;

    /// Holds the lock of the file between the processes for its lifetime, when the lock was free in time.
    class Guard {
    public:
        /// Waits for the lock at most `timeoutMs` milliseconds.
        explicit Guard(LoginStateFile& file, int timeoutMs = patientTimeoutMs);
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;
        [[nodiscard]] bool isHeld() const { return m_lock != nullptr; }

    private:
        friend class LoginStateFile;
        Guard(LoginStateFile& file, std::unique_ptr<IStateFile::ILock> lock);

        LoginStateFile& m_file;
        std::unique_ptr<IStateFile::ILock> m_lock;
    };

    struct Content {
        /// `Damaged` is final; `Unreadable` may be over at the next try; `Busy`: another process held the lock for too long.
        enum class Status { Read, Missing, Empty, Damaged, Unreadable, Busy } status = Status::Busy;
        std::optional<LoginStateDocument> document; ///< When it was read.
        QString error;
        Util::FileStamp stamp;

        [[nodiscard]] bool isRead() const { return status == Status::Read; }
        /// What the file holds is known, be it nothing.
        [[nodiscard]] bool isKnown() const { return status != Status::Unreadable && status != Status::Busy; }
    };

    /// Reads the document. A missing file is no error.
    [[nodiscard]] Content read();
    /// The same for a look, under a guard of its own, which is let go again. When the lock is not free within `lookTimeoutMs` it
    /// reads without: the host's main thread must not wait for the disk of another process. The file is replaced whole, so what
    /// is read is whole; otherwise the result is `Busy`.
    [[nodiscard]] Content readNow();
    /// The same for a start: after the short wait it reads without the lock, since a program that was stopped while it held the
    /// lock must not keep the user signed out. The file is replaced whole, so what is read is whole.
    [[nodiscard]] Content readAtStart();

    /// The document to change for a save: the file's, or a new one when there is none or it is damaged (a damaged file is set
    /// aside under another name). None when the file exists but cannot be read now: then nothing may be written.
    [[nodiscard]] std::optional<LoginStateDocument> readForSaving();

    /// False, with the old file in its place, when the document could not be written, or when no process could read it again.
    [[nodiscard]] bool write(const LoginStateDocument& document);

    /// Removes the unfinished files of a process that died. Every guard does so at its first use; this is for callers that find
    /// no file and so take no guard.
    void removeLeftovers();

    [[nodiscard]] QString path() const { return m_storage->path(); }
    [[nodiscard]] bool exists() const { return m_storage->exists(); }

    /// The stamp of the file now, and of the content that this process has applied or written. When they differ, another process
    /// has written. A read alone does not change the second: the caller that has applied the whole content calls `markSeen`. A
    /// content that could not be read is not marked. A write that was merged with another process's change leaves that change to
    /// be found.
    [[nodiscard]] Util::FileStamp currentStamp() const { return m_storage->stamp(); }
    [[nodiscard]] Util::FileStamp seenStamp() const;
    void markSeen(const Content& content);

private:
    [[nodiscard]] std::unique_ptr<IStateFile::ILock> lock(int timeoutMs);
    [[nodiscard]] std::unique_ptr<IStateFile::ILock> tryLock();
    /// Without the line that ends a read, which differs for a save.
    [[nodiscard]] Content readContent();
    void fail(Content& content, const Util::AtomicFile::ReadResult& file) const;
    void parse(Content& content, const QByteArray& text) const;
    void noteWritten();
    [[nodiscard]] LoginStateDocument newDocument() const;

    const std::shared_ptr<IStateFile> m_storage;
    const std::function<QDateTime()> m_now;
    const std::shared_ptr<Log::ILogger> m_logger;
    mutable QReadWriteLock m_seenLock; ///< The stamp is looked at before every operation, without the login session lock.
    Util::FileStamp m_seen;
    std::atomic<bool> m_isLockStuck{false};
    Util::FileStamp m_lastRead; ///< Of the content that was read, or else written, last.
};

} // namespace Velquor::WebServices::Internal
