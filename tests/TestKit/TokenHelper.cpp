#include "TestKit/TokenHelper.h"

#include <QDeadlineTimer>
#include <QJsonDocument>

namespace Velquor::TestKit {

TokenHelper::TokenHelper(const QStringList& arguments)
    : HelperProcess("token_helper", arguments, QProcessEnvironment::systemEnvironment(), ForwardedErrorChannel) {}

QJsonObject TokenHelper::answer(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        const QJsonObject line = takeLine(static_cast<int>(deadline.remainingTime()));
        if (!line.isEmpty())
            return line;
    }
    return {};
}

bool TokenHelper::hears(const QString& event, int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (!m_events.contains(event) && !deadline.hasExpired())
        (void)takeLine(static_cast<int>(deadline.remainingTime()));
    return m_events.removeOne(event);
}

QStringList TokenHelper::otherEvents(int waitMs) {
    (void)hears("none", waitMs);
    return m_events;
}

QJsonObject TokenHelper::takeLine(int timeoutMs) {
    if (!canReadLine() && !waitForReadyRead(timeoutMs))
        return {};
    const QJsonObject line = canReadLine() ? QJsonDocument::fromJson(readLine()).object() : QJsonObject();
    if (!line.contains("event"))
        return line;
    m_events += line.value("event").toString() + (line.value("main").toBool() ? "" : " on another thread");
    return {};
}

} // namespace Velquor::TestKit
