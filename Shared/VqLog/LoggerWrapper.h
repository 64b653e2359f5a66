#pragma once

#include "VqLog/ILogger.h"

#include <memory>

namespace Velquor::Log {

/// A named logger of the process.
///
/// Until the log is set up, messages are queued (LogQueue.h). Control characters are escaped, so each message is one line.
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

/// A shared logger of this name.
[[nodiscard]] std::shared_ptr<ILogger> makeLogger(const QString& name);

/// The library's root logger, for what belongs to none of its parts. Never destroyed.
[[nodiscard]] ILogger& rootLogger();

/// When an end of the log is over: at once, or when no thread is writing any more.
enum class LogEnd { Now, WhenNobodyWrites };

/// Drops all messages from now on: the process ends, and the log library with it. Thread: any.
void endLog(LogEnd end);

/// True while a thread is inside the log library, also one that the system ended there. Thread: any; waits for nothing.
[[nodiscard]] bool isBeingWritten();

/// The text on one line. CR, LF, TAB and other control characters become visible escapes such as "\n" and "\x1b", so that a
/// text from outside cannot forge a line of the log.
[[nodiscard]] QString singleLine(const QString& text);

} // namespace Velquor::Log
