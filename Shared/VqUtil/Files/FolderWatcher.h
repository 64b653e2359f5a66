#pragma once

#include "VqLog/ILogger.h"

#include <QObject>
#include <QString>
#include <memory>

namespace Velquor::CloudUtil {

/// Reports changes of the files in one folder, including a file that is rewritten in place. A report is a hint: after too many
/// changes at once, or when the folder was missing, every file in the folder is reported as modified.
///
/// Thread: its owner's. It watches on a thread of its own, which emits the signal. Owner: the receiver of the changes. Errors:
/// false and a line in the log. A missing folder is watched as soon as it exists.
class FolderWatcher : public QObject {
    Q_OBJECT

public:
    enum class Action { Added, Removed, Modified, RenamedFrom, RenamedTo, Unknown };
    Q_ENUM(Action)

    explicit FolderWatcher(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);
    ~FolderWatcher() override;

    /// Watches this folder instead of the previous one. False when the system has no means to watch.
    bool start(const QString& folder);
    /// No change is reported after the return.
    void stop();

signals:
    /// `path` is absolute, with "/" as separator.
    void Changed(const QString& path, Velquor::CloudUtil::FolderWatcher::Action action);

private:
    class Worker;

    const std::shared_ptr<Log::ILogger> m_logger;
    std::unique_ptr<Worker> m_worker;
};

/// "Added", "Removed", "Modified", "Renamed from", "Renamed to", otherwise "Unknown".
[[nodiscard]] QString actionName(FolderWatcher::Action action);

} // namespace Velquor::CloudUtil
