#include "VqLog/LoggerWrapper.h"

#include "VqLog/CallReport.h"
#include "VqLog/LogQueue.h"
#include "VqLog/LogTap.h"

#include <atomic>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <mutex>
#include <shared_mutex>

namespace Velquor::Log {

namespace {

std::atomic<bool> isEnded{false};

/// Held for reading by those who write to the log library. Never destroyed, since they may run at the end of the process.
std::shared_mutex& writers() {
    static auto* const lock = new std::shared_mutex;
    return *lock;
}

} // namespace

struct LoggerWrapper::Target {
    log4cplus::Logger logger;
};

LoggerWrapper::LoggerWrapper(const QString& name)
    : m_target(new Target{log4cplus::Logger::getInstance(LOG4CPLUS_STRING_TO_TSTRING(name.toStdString()))})
    , m_name(name) {}

LoggerWrapper::~LoggerWrapper() = default;

bool LoggerWrapper::isEnabled(Level level) const {
    if (isEnded)
        return false;
    return !LogQueue::instance().isLogSetUp() || m_target->logger.isEnabledFor(static_cast<log4cplus::LogLevel>(level));
}

void LoggerWrapper::write(Level level, const QString& prefix, const QString& text) {
    if (level >= Level::Error)
        CallReport::noteError(prefix, text);
    if (!isEnabled(level))
        return;
    const QString line = singleLine(prefix.isEmpty() ? text : prefix + QStringLiteral(": ") + text);
    LogTap::instance().add(level, line);
    if (LogQueue::instance().add({m_name, level, line}))
        return;
    const std::shared_lock<std::shared_mutex> lock(writers());
    if (isEnded)
        return;
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
    if (end != LogEnd::WhenNobodyWrites)
        return;
    // The host's function may be gone soon.
    LogTap::instance().setReceiver(nullptr);
    const std::lock_guard<std::shared_mutex> lock(writers());
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
