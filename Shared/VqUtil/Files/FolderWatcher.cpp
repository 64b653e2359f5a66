#include "VqUtil/Files/FolderWatcher.h"

#include "VqUtil/Files/FolderChanges.h"

#include <QDir>
#include <QDirIterator>
#include <QSemaphore>
#include <QThread>
#include <atomic>
#include <utility>

namespace Velquor::CloudUtil {

namespace {

using Util::FolderChanges;

// The pause between two attempts to open a missing folder.
constexpr int searchMs = 1000;

FolderWatcher::Action actionOf(FolderChanges::Kind kind) {
    switch (kind) {
    case FolderChanges::Kind::Added: return FolderWatcher::Action::Added;
    case FolderChanges::Kind::Removed: return FolderWatcher::Action::Removed;
    case FolderChanges::Kind::Modified: return FolderWatcher::Action::Modified;
    case FolderChanges::Kind::RenamedFrom: return FolderWatcher::Action::RenamedFrom;
    case FolderChanges::Kind::RenamedTo: return FolderWatcher::Action::RenamedTo;
    case FolderChanges::Kind::Unknown: break;
    }
    return FolderWatcher::Action::Unknown;
}

} // namespace

/// The thread that waits for changes. Owner: the watcher, which outlives it.
class FolderWatcher::Worker : public QThread {
public:
    Worker(FolderWatcher& watcher, const QString& folder)
        : m_watcher(watcher)
        , m_folder(folder) {}

    ~Worker() override {
        m_isEnding = true;
        m_changes.wake();
        wait();
    }

    /// Returns when the first attempt to watch has been made, so that no later change is missed. True also when the folder is
    /// missing.
    [[nodiscard]] bool begin() {
        if (const Util::Result<void> usable = m_changes.usable(); !usable) {
            m_watcher.m_logger->error(QStringLiteral("Failed to watch folder %1. %2").arg(m_folder, usable.reason()));
            return false;
        }
        start();
        m_begun.acquire();
        return true;
    }

protected:
    void run() override;

private:
    void watch();
    void search();
    void report(const QString& name, Action action) { emit m_watcher.Changed(m_folder + QLatin1Char('/') + name, action); }
    void reportAllFiles();

    FolderWatcher& m_watcher;
    const QString m_folder;
    FolderChanges m_changes;
    QSemaphore m_begun;
    std::atomic<bool> m_isEnding{false};
};

void FolderWatcher::Worker::run() {
    const Util::Result<void> opened = m_changes.open(m_folder);
    if (!opened)
        m_watcher.m_logger->warning(QStringLiteral("Waiting for folder %1 to watch. %2").arg(m_folder, opened.reason()));
    m_begun.release();
    if (opened)
        watch();
    while (!m_isEnding) {
        search();
        if (m_isEnding)
            return;
        m_watcher.m_logger->information(QStringLiteral("Watching folder %1, which was missing").arg(m_folder));
        reportAllFiles();
        watch();
    }
}

void FolderWatcher::Worker::watch() {
    auto result = FolderChanges::Outcome::Changed;
    while (!m_isEnding && result != FolderChanges::Outcome::Gone) {
        QVector<FolderChanges::Change> changes;
        result = m_changes.wait(-1, &changes);
        for (const FolderChanges::Change& change : std::as_const(changes)) {
            if (m_isEnding)
                return;
            report(change.name, actionOf(change.kind));
        }
        if (result == FolderChanges::Outcome::Overflow)
            reportAllFiles();
    }
    if (!m_isEnding)
        m_watcher.m_logger->warning(QStringLiteral("The watched folder %1 is gone. Waiting for it.").arg(m_folder));
}

void FolderWatcher::Worker::search() {
    QVector<FolderChanges::Change> none;
    while (!m_isEnding && !m_changes.open(m_folder))
        (void)m_changes.wait(searchMs, &none);
}

void FolderWatcher::Worker::reportAllFiles() {
    QDirIterator files(m_folder, QDir::Files | QDir::Hidden | QDir::System);
    while (!m_isEnding && files.hasNext()) {
        files.next();
        report(files.fileName(), Action::Modified);
    }
}

FolderWatcher::FolderWatcher(std::shared_ptr<Log::ILogger> logger, QObject* parent)
    : QObject(parent)
    , m_logger(std::move(logger)) {
    qRegisterMetaType<Velquor::CloudUtil::FolderWatcher::Action>("Velquor::CloudUtil::FolderWatcher::Action");
}

FolderWatcher::~FolderWatcher() {
    stop();
}

bool FolderWatcher::start(const QString& folder) {
    stop();
    m_worker = std::make_unique<Worker>(*this, QDir::cleanPath(QDir(folder).absolutePath()));
    if (m_worker->begin())
        return true;
    m_worker.reset();
    return false;
}

void FolderWatcher::stop() {
    m_worker.reset();
}

QString actionName(FolderWatcher::Action action) {
    switch (action) {
    case FolderWatcher::Action::Added: return QStringLiteral("Added");
    case FolderWatcher::Action::Removed: return QStringLiteral("Removed");
    case FolderWatcher::Action::Modified: return QStringLiteral("Modified");
    case FolderWatcher::Action::RenamedFrom: return QStringLiteral("Renamed from");
    case FolderWatcher::Action::RenamedTo: return QStringLiteral("Renamed to");
    case FolderWatcher::Action::Unknown: break;
    }
    return QStringLiteral("Unknown");
}

} // namespace Velquor::CloudUtil
