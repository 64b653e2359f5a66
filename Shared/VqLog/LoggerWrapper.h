#pragma once

#include "VqLog/ILogger.h"

#include <memory>

namespace Velquor::Log {

/// A named logger of the process.
///
/// Before the log is set up its messages are queued (LogQueue.h). One message is one line: control characters are escaped.
/// Thread: any. Owner: shared by the objects that log through it.
class LoggerWrapper final : public ILogger {
public:
    explicit LoggerWrapper(const QString& name);
    ~LoggerWrapper() override;

    void write(Level level, const QString& prefix, const QString& text) override;
    [[nodiscard]] bool isEnabled(Level level) const override;

private:
    struct Target;
    const std::unique_ptr<Target> m_target;
    const QString m_name;
};

/// A shared one.
[[nodiscard]] std::shared_ptr<ILogger> makeLogger(const QString& name);

/// The logger of the library itself, for what belongs to none of its parts. Never destroyed.
[[nodiscard]] ILogger& rootLogger();

/// The text on one line: CR, LF, TAB and other control characters become visible escapes such as "\n" and "\x1b", so that
/// nothing from outside can pass for a line of the log.
[[nodiscard]] QString singleLine(const QString& text);

} // namespace Velquor::Log
