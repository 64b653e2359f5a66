#include "VqUtil/ProcessState/ProcessStateDependencies.h"

#include "VqUtil/ProcessState/ProcessLiveness.h"
#include "VqUtil/ProcessState/SharedBlock.h"

#include <QCoreApplication>
#include <utility>

namespace Velquor::Util {

ProcessStateDependencies systemProcessStateDependencies(const QString& dataFolder, std::shared_ptr<Log::ILogger> logger) {
    ProcessStateDependencies dependencies;
    dependencies.lockFolder = sharedBlockFolder(dataFolder);
    dependencies.openBlock = [folder = dependencies.lockFolder](const QString& key) { return openSharedBlock(key, folder); };
    dependencies.isAlive = &isProcessAlive;
    dependencies.ownProcessId = QCoreApplication::applicationPid();
    dependencies.ownExecutablePath = ownExecutablePath();
    dependencies.logger = std::move(logger);
    return dependencies;
}

} // namespace Velquor::Util
