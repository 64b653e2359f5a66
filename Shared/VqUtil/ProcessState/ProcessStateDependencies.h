#pragma once

#include "VqLog/ILogger.h"
#include "VqUtil/ProcessState/ISharedBlock.h"

#include <QString>
#include <functional>
#include <memory>

namespace Velquor::Util {

/// What the process state needs of the system. Thread: any.
struct ProcessStateDependencies {
    std::function<std::unique_ptr<ISharedBlock>(const QString& key)> openBlock;
    std::function<bool(qint64 processId, const QString& executablePath)> isAlive;
    qint64 ownProcessId = 0;
    QString ownExecutablePath;
    QString lockFolder; ///< Where the lock of the block lies; it exists.
    std::shared_ptr<Log::ILogger> logger;
};

/// The services of the running system. `dataFolder`, which exists, takes what has no better place.
[[nodiscard]] ProcessStateDependencies systemProcessStateDependencies(const QString& dataFolder,
                                                                      std::shared_ptr<Log::ILogger> logger);

} // namespace Velquor::Util
