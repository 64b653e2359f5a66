#include "TestKit/EventStorm.h"

#include "Events/NotificationManager.h"
#include "TestKit/PackedParams.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/WaitFor.h"

#include <QThread>
#include <algorithm>

namespace Velquor::TestKit {

namespace {

/// Until another process serves, and all have found it.
constexpr int handOverMs = 1000;
/// Seldom, since each look takes processor time from the others.
constexpr int looksMs = 200;

template <typename Helpers, typename Condition>
bool all(const Helpers& helpers, Condition condition) {
    return std::all_of(helpers.cbegin(), helpers.cend(), condition);
}

} // namespace

bool EventStorm::start(int count, int pauseMs) {
    m_pauseMs = pauseMs;
    for (const QByteArray& from : senderNames()) {
        m_senders.push_back(run("raise", QString::fromLatin1(from), count, pauseMs));
        m_listeners.push_back(run("hear", {}, 0, 0));
    }
    if (!meet())
        return false;
    QThread::msleep(handOverMs);
    return true;
}

bool EventStorm::rage(int timeoutMs) {
    for (const auto& sender : m_senders) {
        sender->tell();
        // Out of step, as independent processes are.
        QThread::msleep(static_cast<unsigned long>(m_pauseMs) / m_senders.size());
    }
    const auto isDone = [](const auto& sender) { return sender->hasSent() && !sender->wasRefused(); };
    return waitFor([&] { return all(m_senders, isDone); }, timeoutMs, looksMs);
}

std::vector<qint64> EventStorm::ages() const {
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

bool EventStorm::meet() {
    WebServices::Internal::NotificationManager manager({m_folder, std::make_shared<RecordingLogger>()}, *this);
    manager.Start();
    const auto isThere = [](const auto& helper) { return !helper->heard().isEmpty(); };
    for (int attempt = 0; attempt < 200; ++attempt) {
        manager.SendInterProcessMessage(WebServicesPrivateCore::WebServicesEvent::TokenRefreshed,
                                        packed({{"From", "test"}, {"Number", attempt}}));
        if (waitFor([&] { return all(m_senders, isThere) && all(m_listeners, isThere); }, 50))
            return true;
    }
    return false;
}

std::unique_ptr<IpcHelper> EventStorm::run(const QString& command, const QString& from, int count, int pauseMs) const {
    const QStringList arguments{command, QString(), m_folder, from, QString::number(count), QString::number(pauseMs)};
    return std::make_unique<IpcHelper>(arguments, m_environment);
}

} // namespace Velquor::TestKit
