#include "Events/InterProcessEventManager.h"

#include "Events/EventDocument.h"
#include "VqUtil/Files/AtomicFile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr qint64 maximumEventSize = 256LL * 1024;
constexpr quint64 keepSeconds = 60;
// A reader has the event file open for a moment; a process that has it open for longer is no reader.
constexpr int briefPatienceMs = 10;
constexpr int farewellMs = 1000;
constexpr int writePauseMs = 50;
constexpr int mostAttempts = Util::AtomicFile::longestWaitMs / writePauseMs;

} // namespace

InterProcessEventManager::InterProcessEventManager(const QString& folder, std::shared_ptr<Log::ILogger> logger)
    : m_eventFile(QDir::cleanPath(folder + QStringLiteral("/Event.xml")))
    , m_triggerFile(QDir::cleanPath(folder + QStringLiteral("/EventTrigger.tmp")))
    , m_folder(QDir::cleanPath(folder))
    , m_logger(std::move(logger))
    , m_writeTimer(this)
    , m_deleteFileTimer(this)
    , m_watcher(m_logger, this) {
    m_writeTimer.setSingleShot(true);
    m_writeTimer.setInterval(writePauseMs);
    connect(&m_writeTimer, &QTimer::timeout, this, &InterProcessEventManager::writeFile);
    m_deleteFileTimer.setInterval(deleteAfterMs);
    connect(&m_deleteFileTimer, &QTimer::timeout, this, &InterProcessEventManager::DeleteFileTimerTimeout);
    connect(&m_watcher, &CloudUtil::FolderWatcher::Changed, this, &InterProcessEventManager::ChangedSlot, Qt::QueuedConnection);
}

InterProcessEventManager::~InterProcessEventManager() {
    if (!m_document.isEmpty())
        (void)tryToWriteFile(farewellMs, true);
}

void InterProcessEventManager::StartWatching() {
    if (m_watcher.start(m_folder))
        m_logger->information(QStringLiteral("Started watching folder %1 for login state changes").arg(m_folder));
}

void InterProcessEventManager::StopWatching() {
    m_watcher.stop();
    m_deleteFileTimer.stop();
}

void InterProcessEventManager::RaiseEvent(int id, const QVariantMap& params) {
    const bool isOwnThread = QThread::currentThread() == thread();
    if (isOwnThread)
        m_deleteFileTimer.stop();
    else
        m_logger->error(QStringLiteral("InterProcessEventManager::RaiseEvent called in a different thread. Cannot stop timer."));
    m_document = writeEventDocument({QCoreApplication::applicationPid(), id, params});
    if (!m_writeTimer.isActive())
        writeFile();
    if (isOwnThread)
        m_deleteFileTimer.start();
}

void InterProcessEventManager::writeFile() {
    const bool isLast = ++m_attempts >= mostAttempts;
    if (tryToWriteFile(briefPatienceMs, isLast))
        m_attempts = 0;
    else
        m_writeTimer.start();
}

bool InterProcessEventManager::tryToWriteFile(int patienceMs, bool isLast) {
    // The file is short-lived, and after a power cut no process is left to read it, so it is not flushed.
    const Util::Replacement result = Util::AtomicFile::tryToWrite(m_eventFile, m_document, Util::Flush::No, patienceMs);
    if (result.isBusy() && !isLast)
        return false;
    m_document.clear();
    if (result.isDone())
        touchTrigger();
    else
        m_logger->error(QStringLiteral("Failed to write event file %1. %2").arg(m_eventFile, result.error));
    return true;
}

void InterProcessEventManager::touchTrigger() {
    QFile trigger(m_triggerFile);
    if (!trigger.open(QIODevice::WriteOnly)) {
        m_logger->error(QStringLiteral("Failed to write event file %1. %2").arg(m_triggerFile, trigger.errorString()));
        return;
    }
    trigger.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // Some systems report no change for a file that stays empty, so set its time.
    trigger.setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileModificationTime);
}

void InterProcessEventManager::ChangedSlot(const QString& path, CloudUtil::FolderWatcher::Action action) {
    using Action = CloudUtil::FolderWatcher::Action;
    if (QDir::cleanPath(path).compare(m_triggerFile, Qt::CaseInsensitive) != 0)
        return;
    const QString name = CloudUtil::actionName(action);
    m_logger->debug(QStringLiteral("Change event received: %1 %2").arg(path, name));
    if (action != Action::Added && action != Action::Modified) {
        m_logger->debug(QStringLiteral("Change event ignored: %1 %2").arg(path, name));
        return;
    }
    EventTriggerFileChanged();
}

void InterProcessEventManager::EventTriggerFileChanged() {
    if (!QFileInfo::exists(m_eventFile)) {
        m_logger->warning(
            QStringLiteral("Event trigger file change event received, but couldn't find event file %1").arg(m_eventFile));
        return;
    }
    EventDocument event;
    const Util::AtomicFile::ReadResult file = Util::AtomicFile::readOwn(m_eventFile, maximumEventSize);
    switch (readEventDocument(file.data, event)) {
    case EventReadResult::NotXml:
        m_logger->warning(
            QStringLiteral("Failed to load event file %1. Possibly file is not a valid xml file.").arg(m_eventFile));
        return;
    case EventReadResult::NoEvent:
        m_logger->warning(QStringLiteral("Event node not found in event file %1").arg(m_eventFile));
        return;
    case EventReadResult::Read: break;
    }
    if (event.raisedByProcess == QCoreApplication::applicationPid() || event.id == -1)
        return;
    emit InterProcessEventReceived(event.id, event.params);
}

void InterProcessEventManager::DeleteFileTimerTimeout() {
    const QDateTime now = QDateTime::currentDateTimeUtc();
    for (const QString& path : {m_eventFile, m_triggerFile}) {
        const QFileInfo file(path);
        // Unsigned, so that a file with a date in the future is deleted at once.
        if (file.exists() && static_cast<quint64>(file.lastModified().secsTo(now)) > keepSeconds)
            QFile::remove(path);
    }
}

} // namespace Velquor::WebServices::Internal
