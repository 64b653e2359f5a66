#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/Files/FolderWatcher.h"

#include <QByteArray>
#include <QObject>
#include <QTimer>
#include <QVariantMap>
#include <memory>

namespace Velquor::WebServices::Internal {

/// Carries events to the other processes of the user in a small file beside the login state file: "Event.xml" holds the last one,
/// "EventTrigger.tmp" is touched so that their folder watchers see it.
///
/// Thread: that of its owner, with an event loop; a file that a scanner or another process has open keeps nobody waiting, it is
/// written a little later. Owner: the notification manager. Errors: log lines; an event that cannot be written or read is lost on
/// this carrier.
class InterProcessEventManager : public QObject {
    Q_OBJECT

public:
    InterProcessEventManager(const QString& folder, std::shared_ptr<Log::ILogger> logger);
    /// Writes what waits, but not for longer than a second when the file is in use.
    ~InterProcessEventManager() override;

    void StartWatching();
    void StopWatching();
    /// `id` is the number of the event.
    void RaiseEvent(int id, const QVariantMap& params);

    static constexpr int deleteAfterMs = 60000;

signals:
    void InterProcessEventReceived(int id, const QVariantMap& params);

public slots:
    void ChangedSlot(const QString& path, Velquor::CloudUtil::FolderWatcher::Action action);
    void EventTriggerFileChanged();
    void DeleteFileTimerTimeout();

private:
    /// Again a little later when the file is in use.
    void writeFile();
    /// False when the file is in use and this is not the last try.
    [[nodiscard]] bool tryToWriteFile(int patienceMs, bool isLast);
    void touchTrigger();

    const QString m_eventFile;
    const QString m_triggerFile;
    const QString m_folder;
    const std::shared_ptr<Log::ILogger> m_logger;
    QByteArray
        m_document; ///< To be written; empty when nothing is. Only the last event can be seen in the file, so no other waits.
    QTimer m_writeTimer; ///< Runs while the event file is in use.
    int m_attempts = 0;
    QTimer m_deleteFileTimer;
    CloudUtil::FolderWatcher m_watcher;
};

} // namespace Velquor::WebServices::Internal
