#pragma once

#include "Events/INotificationListener.h"
#include "TestKit/IpcHelper.h"

#include <memory>
#include <vector>

namespace Velquor::TestKit {

/// Four processes that raise events, and four that receive them. Thread: the test's. Owner: the test.
class EventStorm : private WebServices::Internal::INotificationListener {
public:
    explicit EventStorm(const QString& folder, const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
        : m_folder(folder)
        , m_environment(environment) {}

    static QByteArrayList senderNames() { return {"A", "B", "C", "D"}; }

    /// So fast that events wait for each other.
    static constexpr int shortestPauseMs = 2;

    /// Starts all of them, to raise `count` events each with a pause in between; true once each has received an event of this
    /// process. This process takes no part from then on: it would have to serve the others while it reads their output.
    [[nodiscard]] bool start(int count, int pauseMs = shortestPauseMs);
    /// Lets them raise their events; true when all have within the time.
    [[nodiscard]] bool rage(int timeoutMs);

    [[nodiscard]] const std::vector<std::unique_ptr<IpcHelper>>& listeners() const { return m_listeners; }
    /// Microseconds from the call that raised an event to the listener, for every received event, in order of size.
    [[nodiscard]] std::vector<qint64> ages() const;

private:
    [[nodiscard]] bool meet();
    [[nodiscard]] std::unique_ptr<IpcHelper> run(const QString& command, const QString& from, int count, int pauseMs) const;
    void eventReceived(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}

    const QString m_folder;
    const QProcessEnvironment m_environment;
    int m_pauseMs = 0;
    std::vector<std::unique_ptr<IpcHelper>> m_senders;
    std::vector<std::unique_ptr<IpcHelper>> m_listeners;
};

} // namespace Velquor::TestKit
