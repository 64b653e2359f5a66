#pragma once

#include "VqUtil/General/Result.h"

#include <QString>
#include <QVector>
#include <memory>

namespace Velquor::Util {

/// The system's notifications of changes in one folder, without its subfolders: inotify or ReadDirectoryChangesW.
///
/// Thread: `wake` on any; the rest on the one thread that waits. Owner: the watcher. Errors: the results of `open` and `wait`.
class FolderChanges {
public:
    enum class Kind { Added, Removed, Modified, RenamedFrom, RenamedTo, Unknown };
    struct Change {
        Kind kind = Kind::Unknown;
        QString name; ///< The file name without the folder.

        [[nodiscard]] bool operator==(const Change& other) const { return kind == other.kind && name == other.name; }
    };
    enum class Outcome {
        Changed,
        Overflow, ///< Changes were lost.
        Gone,     ///< The folder was removed or renamed, or can no longer be watched. Call `open` again.
        Woken,
        TimedOut,
    };

    FolderChanges();
    ~FolderChanges();

    /// Fails when the system has no means to watch anything.
    [[nodiscard]] Result<void> usable() const;
    /// `wait` reports the changes from now on. Fails when the folder is missing or cannot be watched.
    [[nodiscard]] Result<void> open(const QString& folder);
    /// Waits at most `timeoutMs` milliseconds (-1: without limit). Without an open folder only `wake` ends the wait early.
    [[nodiscard]] Outcome wait(int timeoutMs, QVector<Change>* changes);
    /// Ends the current wait, or the next one.
    void wake();

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
};

} // namespace Velquor::Util
