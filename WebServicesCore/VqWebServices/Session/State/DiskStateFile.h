#pragma once

#include "Session/State/IStateFile.h"
#include "VqLog/ILogger.h"

#include <atomic>

namespace Velquor::WebServices::Internal {

/// The login state file in the user's folder.
///
/// Thread: any. Owner: shared. Errors: results; a log line when the folder cannot be made.
class DiskStateFile : public IStateFile {
public:
    DiskStateFile(const QString& path, std::shared_ptr<Log::ILogger> logger);

    [[nodiscard]] std::unique_ptr<ILock> lock(int timeoutMs) override;
    [[nodiscard]] std::unique_ptr<ILock> tryLock(int timeoutMs) override;
    [[nodiscard]] bool isLockRefused() const override { return m_isLockRefused; }
    [[nodiscard]] QString path() const override { return m_path; }
    [[nodiscard]] bool exists() const override;
    [[nodiscard]] Util::FileStamp stamp() const override;
    [[nodiscard]] Util::AtomicFile::ReadResult read(qint64 maximumSize) override;
    [[nodiscard]] Util::Result<void> write(const QByteArray& text) override;
    [[nodiscard]] QString setAside() override;
    [[nodiscard]] bool hasLeftovers() const override;

private:
    class Lock;

    [[nodiscard]] std::unique_ptr<Lock> makeLock() const;
    [[nodiscard]] std::unique_ptr<ILock> handOut(std::unique_ptr<Lock> lock);

    const QString m_path;
    const QString m_folder;
    const std::shared_ptr<Log::ILogger> m_logger;
    std::atomic<bool> m_cleaned{false};
    std::atomic<bool> m_isLockRefused{false};
};

} // namespace Velquor::WebServices::Internal
