#pragma once

#include "TestKit/AccountServiceProcess.h"
#include "TestKit/HelperProcess.h"
#include "TestKit/SessionFixture.h"

#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>

namespace Velquor::TestKit {

/// A run of the program "token_helper": a product in a process of its own, which takes one command a line and answers each with
/// one JSON object. Thread: the test's. Owner: the test.
class TokenHelper : public HelperProcess {
public:
    TokenHelper(const SessionFixture& fixture, const AccountServiceProcess& service, const QString& key = demoKey,
                const QString& secret = demoSecret)
        : HelperProcess("token_helper",
                        {fixture.folder.path(), fixture.keyFolder, service.folder(), service.authorityFile(), key, secret},
                        QProcessEnvironment::systemEnvironment(), ForwardedErrorChannel) {}

    void tell(const QString& line) { write(line.toUtf8() + '\n'); }
    /// The next answer; empty when none comes within the time. Events on the way are kept.
    [[nodiscard]] QJsonObject answer(int timeoutMs = 20000) {
        const QDeadlineTimer deadline(timeoutMs);
        while (!deadline.hasExpired()) {
            const QJsonObject line = takeLine(static_cast<int>(deadline.remainingTime()));
            if (!line.isEmpty())
                return line;
        }
        return {};
    }
    /// True when the event comes within the time, or has come before and was not asked for yet.
    [[nodiscard]] bool hears(const QString& event, int timeoutMs) {
        const QDeadlineTimer deadline(timeoutMs);
        while (!m_events.contains(event) && !deadline.hasExpired())
            (void)takeLine(static_cast<int>(deadline.remainingTime()));
        return m_events.removeOne(event);
    }
    /// The events that have come and were not asked for, after a wait for more.
    [[nodiscard]] QStringList otherEvents(int waitMs) {
        (void)hears("none", waitMs);
        return m_events;
    }

private:
    QJsonObject takeLine(int timeoutMs) {
        if (!canReadLine() && !waitForReadyRead(timeoutMs))
            return {};
        const QJsonObject line = canReadLine() ? QJsonDocument::fromJson(readLine()).object() : QJsonObject();
        if (!line.contains("event"))
            return line;
        m_events += line.value("event").toString() + (line.value("main").toBool() ? "" : " on another thread");
        return {};
    }

    QStringList m_events;
};

} // namespace Velquor::TestKit
