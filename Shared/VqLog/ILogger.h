#pragma once

#include <QString>

namespace Velquor::Log {

/// The levels of the library's log, with the numbers of log4cplus.
enum class Level : int { Trace = 0, Debug = 10000, Information = 20000, Warning = 30000, Error = 40000, Off = 60000 };

/// One named logger.
///
/// The implementation escapes control characters, also the line ends of the library's own lists, so that each message is one line
/// and a text from outside cannot forge another.
/// Thread: any. Owner: shared by the objects that log through it. Errors: none; logging never fails its caller.
class ILogger {
public:
    virtual ~ILogger() = default;

    /// The prefix names the object that writes; it may be empty.
    virtual void write(Level level, const QString& prefix, const QString& text) = 0;

    /// False when the logger drops messages of this level. A caller can then skip building a costly text.
    [[nodiscard]] virtual bool isEnabled(Level level) const = 0;

    void log(Level level, const QString& text) { write(level, QString(), text); }
    void trace(const QString& text) { log(Level::Trace, text); }
    void debug(const QString& text) { log(Level::Debug, text); }
    void information(const QString& text) { log(Level::Information, text); }
    void warning(const QString& text) { log(Level::Warning, text); }
    void error(const QString& text) { log(Level::Error, text); }
};

} // namespace Velquor::Log
