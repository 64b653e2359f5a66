#pragma once

#include "VqLog/ILogger.h"

namespace Velquor::Bench {

/// Drops all messages, with the same level as in products. Thread: any. Owner: the benchmark.
class QuietLogger final : public Log::ILogger {
public:
    void write(Log::Level, const QString&, const QString&) override {}
    [[nodiscard]] bool isEnabled(Log::Level level) const override { return level >= Log::Level::Warning; }
};

} // namespace Velquor::Bench
