#pragma once

#include "VqUtil/Threads/IThreads.h"

namespace Velquor::Util {

/// The threads of the operating system. Without state; thread, owner and errors: as of IThreads.
class SystemThreads final : public IThreads {
public:
    [[nodiscard]] std::unique_ptr<QThread> make(const QString& name, Dispatcher dispatcher) override;
    void start(QThread& thread) override { thread.start(QThread::InheritPriority); }
    void join(QThread& thread) override { thread.wait(); }
    void pause(int spanMs) override { QThread::msleep(static_cast<unsigned long>(spanMs)); }
    [[nodiscard]] std::unique_ptr<IRecursiveLock> makeLock() override;
};

} // namespace Velquor::Util
