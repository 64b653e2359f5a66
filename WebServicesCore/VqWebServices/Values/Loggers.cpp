#include "Values/Loggers.h"

#include "VqLog/LoggerWrapper.h"

namespace Velquor::WebServices::Internal {

namespace {

struct Part {
    const char* name;
    Loggers::Logger Loggers::*member;
};

constexpr Part parts[] = {
    {"VqWebServices.Network", &Loggers::network},
    {"VqWebServices.TimeService", &Loggers::timeService},
    {"VqWebServices.Cache", &Loggers::cache},
    {"VqWebServices.Fetcher", &Loggers::fetcher},
    {"VqWebServices.Refresher", &Loggers::refresher},
    {"VqWebServices.Lock", &Loggers::lock},
    {"VqWebServices.Session", &Loggers::session},
    {"VqWebServices.Product", &Loggers::product},
    {"VqWebServices.OAuth2", &Loggers::oauth2},
    {"VqWebServices.OAuth2.Fetcher", &Loggers::oauth2Fetcher},
    {"VqWebServices.OAuth2.Refresher", &Loggers::oauth2Refresher},
    {"VqWebServices.Ipc", &Loggers::ipc},
};

} // namespace

Loggers Loggers::named() {
    Loggers made;
    for (const Part& part : parts)
        made.*part.member = Log::makeLogger(QLatin1String(part.name));
    return made;
}

Loggers Loggers::all(const Logger& logger) {
    Loggers made;
    for (const Part& part : parts)
        made.*part.member = logger;
    return made;
}

Loggers Loggers::withPrefix(const std::shared_ptr<const Log::LogPrefix>& prefix) const {
    Loggers made;
    for (const Part& part : parts)
        made.*part.member = std::make_shared<Log::PrefixedLogger>(this->*part.member, prefix);
    return made;
}

QStringList Loggers::names() {
    QStringList found{QStringLiteral("VqWebServices")};
    for (const Part& part : parts)
        found += QLatin1String(part.name);
    return found;
}

} // namespace Velquor::WebServices::Internal
