#include "VqUtil/Threads/SystemThreads.h"

#include "VqUtil/Platform/LeanDispatcher.h"

namespace Velquor::Util {

std::unique_ptr<QThread> SystemThreads::make(const QString& name, Dispatcher dispatcher) {
    auto thread = std::make_unique<QThread>();
    thread->setObjectName(name);
    if (dispatcher == Dispatcher::Lean)
        useLeanDispatcher(*thread, ThreadServes::PostsAndTimers);
    return thread;
}

} // namespace Velquor::Util
