#include "VqLog/LoggerWrapper.h"

#include "VqLog/CallReport.h"
#include "VqLog/KnownSecrets.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LogTap.h"

#include <QThread>
#include <atomic>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

namespace Velquor::Log {

namespace {

// Bytes. A hostile reply of megabytes would otherwise be written at each try.
constexpr int longestLine = 4096;
constexpr int longestSecret = 4096;

std::atomic<bool> isEnded{false};
/// The threads that are inside the log library. No lock: a thread that the system ends would leave it in an unknown state.
std::atomic<int> writers{0};

/// The log library may be used while this exists and is allowed. Thread: any. Owner: the stack.
class Use {
public:
    Use() { ++writers; }
    ~Use() { --writers; }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

    // After the count: whoever ends the log waits for those whom it counted.
    [[nodiscard]] static bool isAllowed() { return !isEnded; }
};

} // namespace

struct LoggerWrapper::Target {
    log4cplus::Logger logger;
};

LoggerWrapper::LoggerWrapper(const QString& name)
    : m_target(new Target{log4cplus::Logger::getInstance(LOG4CPLUS_STRING_TO_TSTRING(name.toStdString()))})
    , m_name(name) {}

LoggerWrapper::~LoggerWrapper() = default;

bool LoggerWrapper::isEnabled(Level level) const {
    const Use use;
    if (!Use::isAllowed())
        return false;
    return !LogQueue::instance().isLogSetUp() || m_target->logger.isEnabledFor(static_cast<log4cplus::LogLevel>(level));
}

void LoggerWrapper::write(Level level, const QString& prefix, const QString& text) {
    if (level >= Level::Error)
        CallReport::noteError(prefix, text);
    if (!isEnabled(level))
        return;
    const QString line = logLine(prefix.isEmpty() ? text : prefix + QStringLiteral(": ") + text);
    LogTap::instance().add(level, line);
    if (LogQueue::instance().add({m_name, level, line}))
        return;
    const Use use;
    if (Use::isAllowed())
        m_target->logger.log(static_cast<log4cplus::LogLevel>(level), LOG4CPLUS_STRING_TO_TSTRING(line.toStdString()));
}

std::shared_ptr<ILogger> makeLogger(const QString& name) {
    return std::make_shared<LoggerWrapper>(name);
}

ILogger& rootLogger() {
    static auto* const logger = new LoggerWrapper(QStringLiteral("VqWebServices"));
    return *logger;
}

void endLog(LogEnd end) {
    isEnded = true;
    LogTap::endWithProcess();
    while (end == LogEnd::WhenNobodyWrites && isBeingWritten())
        QThread::msleep(1);
}

bool isBeingWritten() {
    return writers > 0;
}

QString logLine(const QString& text) {
    // Secrets first, since a cut could leave the beginning of one.
    QString line = singleLine(KnownSecrets::hidden(text.left(longestLine + longestSecret)));
    const QByteArray bytes = line.toUtf8();
    if (text.size() <= longestLine && bytes.size() <= longestLine)
        return line;
    const QString note = QStringLiteral("... (%1 characters in all)").arg(text.size());
    // What the cut leaves of a character is dropped.
    QString shown = QString::fromUtf8(bytes.left(longestLine - note.size()));
    while (shown.endsWith(QChar::ReplacementCharacter))
        shown.chop(1);
    return shown + note;
}

QString singleLine(const QString& text) {
    QString line;
    line.reserve(text.size());
    for (const QChar character : text) {
        const ushort code = character.unicode();
        if (code == '\n')
            line += QStringLiteral("\\n");
        else if (code == '\r')
            line += QStringLiteral("\\r");
        else if (code == '\t')
            line += QStringLiteral("\\t");
        else if (code < 0x20 || (code >= 0x7f && code < 0xa0))
            line += QStringLiteral("\\x%1").arg(code, 2, 16, QLatin1Char('0'));
        else if (code == 0x2028 || code == 0x2029)
            line += QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0'));
        else
            line += character;
    }
    return line;
}

} // namespace Velquor::Log
