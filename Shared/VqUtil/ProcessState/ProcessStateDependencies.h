#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/ProcessState/ISharedBlock.h"

#include <QString>
#include <functional>
#include <memory>

namespace Velquor::Util {

/// What `ProcessState` uses of the system, replaceable in tests. Thread: any.
struct ProcessStateDependencies {
    std::function<std::unique_ptr<ISharedBlock>(const QString& key)> openBlock;
    std::function<bool(qint64 processId, const QString& executablePath)> isAlive;
    qint64 ownProcessId = 0;
    QString ownExecutablePath;
    QString lockFolder; ///< The folder of the block's lock. It must exist.
    std::shared_ptr<Log::ILogger> logger;
};

/// The implementations of the running system. `dataFolder` must exist; it is used when there is no runtime folder.
[[nodiscard]] ProcessStateDependencies systemProcessStateDependencies(const QString& dataFolder,
                                                                      std::shared_ptr<Log::ILogger> logger);

} // namespace Velquor::Util
