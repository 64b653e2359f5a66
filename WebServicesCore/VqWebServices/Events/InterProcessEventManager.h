#pragma once

#include "Events/IEventCarriers.h"
#include "VqUtil/Files/FolderWatcher.h"

#include <QByteArray>
#include <QTimer>

namespace Velquor::WebServices::Internal {

/// Carries events to the other processes of the user in a file in the folder of the login state file: "Event.xml" holds the last
/// event, and "EventTrigger.tmp" is touched to notify their folder watchers.
///
/// Thread: its owner's, with an event loop. A file that another process has open is written a little later.
/// Owner: the notification manager. Errors: log lines; an event that cannot be written or read is lost on this carrier.
class InterProcessEventManager : public IEventFile {
    Q_OBJECT

public:
    InterProcessEventManager(const QString& folder, std::shared_ptr<Log::ILogger> logger);
    /// Writes a pending event, but waits at most a second for a file in use.
    ~InterProcessEventManager() override;

    void StartWatching() override;
    void StopWatching() override;
    void RaiseEvent(int id, const QVariantMap& params) override;

    static constexpr int deleteAfterMs = 60000;

public slots:
    void ChangedSlot(const QString& path, Velquor::CloudUtil::FolderWatcher::Action action);
    void EventTriggerFileChanged();
    void DeleteFileTimerTimeout();

private:
    /// Repeats it a little later when the file is in use.
    void writeFile();
    /// False when the file is in use and this is not the last try.
    [[nodiscard]] bool tryToWriteFile(int patienceMs, bool isLast);
    void touchTrigger();

    const QString m_eventFile;
    const QString m_triggerFile;
    const QString m_folder;
    const std::shared_ptr<Log::ILogger> m_logger;
    QByteArray m_document; ///< The pending event; empty without one. The file shows the last event only, so an older pending one
                           ///< is dropped.
    QTimer m_writeTimer;   ///< Runs while the event file is in use.
    int m_attempts = 0;
    QTimer m_deleteFileTimer;
    CloudUtil::FolderWatcher m_watcher;
};

} // namespace Velquor::WebServices::Internal
