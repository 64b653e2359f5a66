#pragma once

#include "VqLog/ILogger.h"

namespace Velquor::Log {

/// For what has no log. Thread: any. Owner: who uses it.
class NoLogger final : public ILogger {
public:
    void write(Level, const QString&, const QString&) override {}
    [[nodiscard]] bool isEnabled(Level) const override { return false; }
};

} // namespace Velquor::Log
