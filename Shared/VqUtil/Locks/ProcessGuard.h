#pragma once

#include "VqUtil/Locks/IProcessGuard.h"

#include <memory>

namespace Velquor::Util {

/// Exclusion between the processes of one user, and between threads. The operating system releases it when its holder dies, for
/// whatever reason. Posix: `flock` on a file that is never deleted. Windows: a named mutex.
///
/// Thread: acquire and release on the same thread; one object per holder. Owner: the holder.
class ProcessGuard final : public IProcessGuard {
public:
    /// `folder` must exist. On Posix it holds the lock file "name.lock".
    ProcessGuard(const QString& name, const QString& folder);
    ~ProcessGuard() override;

    [[nodiscard]] Result acquire(int timeoutMs) override;
    void release() override;
    [[nodiscard]] QString errorText() const override { return m_errorText; }

private:
    struct Native;
    const std::unique_ptr<Native> m_native;
    QString m_errorText;
};

} // namespace Velquor::Util
