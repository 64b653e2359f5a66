#pragma once

#include "TestKit/HelperProcess.h"

#include <QJsonObject>

namespace Velquor::TestKit {

/// A run of the program "token_helper": a product in a process of its own, which takes one command a line and answers each with
/// one JSON object. Thread: the test's. Owner: the test.
class TokenHelper : public HelperProcess {
public:
    explicit TokenHelper(const QStringList& arguments);

    void tell(const QString& line) { write(line.toUtf8() + '\n'); }
    /// The next answer; empty when none comes within the time. Events on the way are kept.
    [[nodiscard]] QJsonObject answer(int timeoutMs = 20000);
    /// True when the event comes within the time, or has come before and was not asked for yet.
    [[nodiscard]] bool hears(const QString& event, int timeoutMs);
    /// The events that have come and were not asked for, after a wait for more.
    [[nodiscard]] QStringList otherEvents(int waitMs);

private:
    QJsonObject takeLine(int timeoutMs);

    QStringList m_events;
};

} // namespace Velquor::TestKit
