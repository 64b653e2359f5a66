#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStringList>

namespace Velquor::TestKit {

/// A run of the program "token_helper", a product in a process of its own that is told line by line what to do and answers
/// with one JSON object for each line. Ends with this object at the latest. Thread: the test's. Owner: the test.
class TokenHelper : public QProcess {
public:
    explicit TokenHelper(const QStringList& arguments) {
        setProcessChannelMode(ForwardedErrorChannel);
        start(QCoreApplication::applicationDirPath() + QStringLiteral("/token_helper"), arguments);
    }

    ~TokenHelper() override {
        kill();
        waitForFinished(10000);
    }

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

    /// True when the event was told within the time, or before and not asked for yet.
    [[nodiscard]] bool hears(const QString& event, int timeoutMs) {
        const QDeadlineTimer deadline(timeoutMs);
        while (!m_events.contains(event) && !deadline.hasExpired())
            (void)takeLine(static_cast<int>(deadline.remainingTime()));
        return m_events.removeOne(event);
    }

    /// The events that were told and not asked for, after waiting for more.
    [[nodiscard]] QStringList otherEvents(int waitMs) {
        (void)hears(QStringLiteral("none"), waitMs);
        return m_events;
    }

private:
    QJsonObject takeLine(int timeoutMs) {
        if (!canReadLine() && !waitForReadyRead(timeoutMs))
            return {};
        const QJsonObject line = canReadLine() ? QJsonDocument::fromJson(readLine()).object() : QJsonObject();
        if (!line.contains(QStringLiteral("event")))
            return line;
        m_events += line.value(QStringLiteral("event")).toString()
                    + (line.value(QStringLiteral("main")).toBool() ? QString() : QStringLiteral(" on another thread"));
        return {};
    }

    QStringList m_events;
};

} // namespace Velquor::TestKit
