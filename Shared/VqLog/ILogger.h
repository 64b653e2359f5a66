#pragma once

#include <QString>

namespace Velquor::Log {

/// The levels of the library's log, with the numbers of log4cplus.
enum class Level : int { Trace = 0, Debug = 10000, Information = 20000, Warning = 30000, Error = 40000, Off = 60000 };

/// What a class of the library needs to log: one named logger.
///
/// Thread: any. Owner: shared by the objects that log through it. Errors: none; logging never fails its caller.
/// A text may hold line ends of the library's own (lists, dumps); control characters that came from outside are escaped by
/// the implementation, so that nobody can forge a line.
class ILogger {
public:
    virtual ~ILogger() = default;

    /// The prefix names the object that writes; it may be empty.
    virtual void write(Level level, const QString& prefix, const QString& text) = 0;

    /// False when a message of this level would be dropped; lets a caller skip building a costly text.
    [[nodiscard]] virtual bool isEnabled(Level level) const = 0;

    void log(Level level, const QString& text) { write(level, QString(), text); }
    void trace(const QString& text) { log(Level::Trace, text); }
    void debug(const QString& text) { log(Level::Debug, text); }
    void information(const QString& text) { log(Level::Information, text); }
    void warning(const QString& text) { log(Level::Warning, text); }
    void error(const QString& text) { log(Level::Error, text); }
};

} // namespace Velquor::Log
