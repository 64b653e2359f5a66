#include "Runtime/SilencedLoggers.h"

#include <QMutex>
#include <QMutexLocker>
#include <log4cplus/logger.h>
#include <utility>
#include <vector>

namespace Velquor::WebServices::Internal::SilencedLoggers {

namespace {

struct Silenced {
    QMutex mutex;
    std::vector<std::pair<log4cplus::Logger, log4cplus::LogLevel>> levels;
};

Silenced& silenced() {
    // Never destroyed: the log library, which owns the loggers in it, may be destroyed earlier.
    static auto* const all = new Silenced;
    return *all;
}

void silenceOne(Silenced& all, log4cplus::Logger logger) {
    if (logger.getLogLevel() == log4cplus::OFF_LOG_LEVEL)
        return;
    all.levels.emplace_back(logger, logger.getLogLevel());
    logger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
}

} // namespace

void silence() {
    Silenced& all = silenced();
    const QMutexLocker lock(&all.mutex);
    silenceOne(all, log4cplus::Logger::getRoot());
    for (const log4cplus::Logger& logger : log4cplus::Logger::getCurrentLoggers())
        silenceOne(all, logger);
}

void restore() {
    Silenced& all = silenced();
    const QMutexLocker lock(&all.mutex);
    for (auto& [logger, level] : std::exchange(all.levels, {}))
        logger.setLogLevel(level);
}

} // namespace Velquor::WebServices::Internal::SilencedLoggers
