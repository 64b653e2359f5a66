#pragma once

#include "VqLog/ILogger.h"

#include <QObject>
#include <QString>
#include <memory>

namespace Velquor::CloudUtil {

/// Tells of changes of the files in one folder, also of a file that is rewritten in place. A notification is a hint: when many
/// changes come at once, or the folder was away, every file that is in the folder is reported as modified.
///
/// Thread: its owner's; it works on a thread of its own, from which the signal comes. Owner: whoever watches. Errors: false and a
/// line in the log; a folder that is missing is waited for.
class FolderWatcher : public QObject {
    Q_OBJECT

public:
    enum class Action { Added, Removed, Modified, RenamedFrom, RenamedTo, Unknown };
    Q_ENUM(Action)

    explicit FolderWatcher(std::shared_ptr<Log::ILogger> logger, QObject* parent = nullptr);
    ~FolderWatcher() override;

    /// Watches this folder and no other. False when the system gives no means to watch.
    bool start(const QString& folder);
    /// Nothing is told after this has returned.
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
