#pragma once

#include "VqUtil/General/Result.h"

#include <QString>
#include <QVector>
#include <memory>

namespace Velquor::Util {

/// The system's own notifications of changes in one folder, without its subfolders: inotify or ReadDirectoryChangesW.
///
/// Thread: `wake` from any; the rest on the one thread that waits. Owner: whoever watches. Errors: `open` and `wait` tell them.
class FolderChanges {
public:
    enum class Kind { Added, Removed, Modified, RenamedFrom, RenamedTo, Unknown };
    struct Change {
        Kind kind = Kind::Unknown;
        QString name; ///< Of the file, without the folder.

        [[nodiscard]] bool operator==(const Change& other) const { return kind == other.kind && name == other.name; }
    };
    enum class Outcome {
        Changed,
        Overflow, ///< Changes were lost.
        Gone,     ///< The folder is no longer there under its name, or can no longer be watched. `open` starts anew.
        Woken,
        TimedOut,
    };

    FolderChanges();
    ~FolderChanges();

    /// Fails when the system has no means to watch anything.
    [[nodiscard]] Result<void> usable() const;
    /// `wait` reports the changes from now on. Fails when the folder is missing or cannot be watched.
    [[nodiscard]] Result<void> open(const QString& folder);
    /// Waits at most `timeoutMs` milliseconds (-1: without limit). Without an open folder it waits for `wake` alone.
    [[nodiscard]] Outcome wait(int timeoutMs, QVector<Change>* changes);
    /// Ends the wait that goes on, or the next one.
    void wake();

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
};

} // namespace Velquor::Util
