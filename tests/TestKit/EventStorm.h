#pragma once

#include "Events/NotificationManager.h"
#include "TestKit/IpcHelper.h"
#include "TestKit/PackedParams.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/WaitFor.h"

#include <QThread>
#include <algorithm>
#include <memory>
#include <vector>

namespace Velquor::TestKit {

/// Four processes that raise events, and four that hear them. Thread: the test's. Owner: the test.
class EventStorm : private WebServices::Internal::INotificationListener {
public:
    explicit EventStorm(const QString& folder, const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
        : m_folder(folder)
        , m_environment(environment) {}

    static QByteArrayList senderNames() { return {"A", "B", "C", "D"}; }

    /// So fast that events wait for each other.
    static constexpr int shortestPauseMs = 2;

    /// Starts all of them, to raise `count` events each with a pause in between; true once each has heard an event of this
    /// process, which takes no part from then on: it would have to serve the others beside the reading of all that they say.
    [[nodiscard]] bool start(int count, int pauseMs = shortestPauseMs) {
        m_pauseMs = pauseMs;
        for (const QByteArray& from : senderNames()) {
            m_senders.push_back(run(QStringLiteral("raise"), QString::fromLatin1(from), count, pauseMs));
            m_listeners.push_back(run(QStringLiteral("hear"), {}, 0, 0));
        }
        if (!meet())
            return false;
        QThread::msleep(handOverMs);
        return true;
    }

    /// Lets them raise their events; true when all have within the time.
    [[nodiscard]] bool rage(int timeoutMs) {
        for (const auto& sender : m_senders) {
            sender->tell();
            // Out of step, as processes are that nobody keeps in step.
            QThread::msleep(static_cast<unsigned long>(m_pauseMs) / m_senders.size());
        }
        return waitFor(
            [this] { return all(m_senders, [](const auto& sender) { return sender->hasSent() && !sender->wasRefused(); }); },
            timeoutMs, looksMs);
    }

    [[nodiscard]] const std::vector<std::unique_ptr<IpcHelper>>& listeners() const { return m_listeners; }

    /// Microseconds from the call that raised an event to the listener, of all that were heard, in order of size.
    [[nodiscard]] std::vector<qint64> ages() const {
        std::vector<qint64> found;
        for (const auto& listener : m_listeners) {
            for (const IpcHelper::Heard& heard : listener->heard()) {
                if (heard.from != "test")
                    found.push_back(heard.ageUs);
            }
        }
        std::sort(found.begin(), found.end());
        return found;
    }

private:
    /// Until another process serves, and all have found it.
    static constexpr int handOverMs = 1000;
    /// Seldom, since each look takes something from the time of the others.
    static constexpr int looksMs = 200;

    [[nodiscard]] bool meet() {
        WebServices::Internal::NotificationManager manager(m_folder, *this, std::make_shared<RecordingLogger>());
        manager.Start();
        const auto isThere = [](const auto& helper) { return !helper->heard().isEmpty(); };
        for (int attempt = 0; attempt < 200; ++attempt) {
            manager.SendInterProcessMessage(
                WebServicesPrivateCore::WebServicesEvent::TokenRefreshed,
                packed({{QStringLiteral("From"), QStringLiteral("test")}, {QStringLiteral("Number"), attempt}}));
            if (waitFor([&] { return all(m_senders, isThere) && all(m_listeners, isThere); }, 50))
                return true;
        }
        return false;
    }

    template <typename Helpers, typename Condition>
    static bool all(const Helpers& helpers, Condition condition) {
        return std::all_of(helpers.cbegin(), helpers.cend(), condition);
    }

    [[nodiscard]] std::unique_ptr<IpcHelper> run(const QString& command, const QString& from, int count, int pauseMs) const {
        return std::make_unique<IpcHelper>(
            QStringList{command, QString(), m_folder, from, QString::number(count), QString::number(pauseMs)}, m_environment);
    }

    void eventReceived(WebServicesPrivateCore::WebServicesEvent, const WebServices::Internal::EventSubject&) override {}

    const QString m_folder;
    const QProcessEnvironment m_environment;
    int m_pauseMs = 0;
    std::vector<std::unique_ptr<IpcHelper>> m_senders;
    std::vector<std::unique_ptr<IpcHelper>> m_listeners;
};

} // namespace Velquor::TestKit
