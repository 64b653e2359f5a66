#include "VqUtil/Threads/SystemThreads.h"

#include "VqUtil/Platform/LeanDispatcher.h"
#include "VqUtil/Threads/RecursiveLock.h"

namespace Velquor::Util {

std::unique_ptr<QThread> SystemThreads::make(const QString& name, Dispatcher dispatcher) {
    auto thread = std::make_unique<QThread>();
    thread->setObjectName(name);
    if (dispatcher == Dispatcher::Lean)
        useLeanDispatcher(*thread, ThreadServes::PostsAndTimers);
    return thread;
}

std::unique_ptr<IRecursiveLock> SystemThreads::makeLock() {
    return std::make_unique<RecursiveLock>();
}

} // namespace Velquor::Util
