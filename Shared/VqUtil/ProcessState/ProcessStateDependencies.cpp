#include "VqUtil/ProcessState/ProcessStateDependencies.h"

#include "VqUtil/ProcessState/ProcessLiveness.h"
#include "VqUtil/ProcessState/SharedBlock.h"

#include <QCoreApplication>
#include <utility>

namespace Velquor::Util {

ProcessStateDependencies systemProcessStateDependencies(const QString& dataFolder, std::shared_ptr<Log::ILogger> logger) {
    ProcessStateDependencies services;
    services.lockFolder = sharedBlockFolder(dataFolder);
    services.openBlock = [folder = services.lockFolder](const QString& key) { return openSharedBlock(key, folder); };
    services.isAlive = &isProcessAlive;
    services.ownProcessId = QCoreApplication::applicationPid();
    services.ownExecutablePath = ownExecutablePath();
    services.logger = std::move(logger);
    return services;
}

} // namespace Velquor::Util
