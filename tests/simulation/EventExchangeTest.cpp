#include "Events/NotificationManager.h"
#include "Events/NotificationThread.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "simulation/Library/Wire.h"
#include "simulation/ProcessThreads.h"
#include "simulation/Runs.h"
#include "simulation/TestMain.h"

using namespace Velquor;
using namespace Velquor::Simulation;
using namespace Velquor::WebServices::Internal;

namespace {

using Event = WebServicesPrivateCore::WebServicesEvent;
const std::vector<Event> sent = {Event::LoggedIn, Event::TokenRefreshed, Event::ServerChanged, Event::LoggedOut};

/// A process that exchanges events. Its main thread sends them, when it is the sender.
class Exchanger : public INotificationListener {
public:
    Exchanger(World& world, Wire& wire, const QByteArray& name, bool isSender)
        : m_wire(wire)
        , m_process(world.addProcess(name))
        , m_threads(std::make_shared<ProcessThreads>(world, m_process))
        , m_notifications(m_threads)
        , m_main(m_threads->make("main", Util::IThreads::Dispatcher::System)) {
        m_services = {QString(), m_logger, [&world] { return world.nowUs() * 1000; }, m_wire.carriersOf(m_process),
                      QString::fromUtf8(name)};
        QObject::connect(m_main.get(), &QThread::started, [this, isSender] { run(isSender); });
        m_threads->start(*m_main);
    }

    void eventReceived(Event event, const EventSubject&) override { heard.push_back(event); }
    [[nodiscard]] bool finishReactions() override { return true; }

    std::vector<Event> heard;

private:
    void run(bool isSender) {
        m_notifications.start(m_services, *this);
        for (int seconds = 0; isSender && m_wire.receivers() < 3 && seconds < 100; seconds++)
            m_threads->pause(1000);
        for (const Event event : sent)
            if (isSender)
                m_notifications.send(event, {});
        for (int seconds = 0; !isSender && heard.size() < sent.size() && seconds < 100; seconds++)
            m_threads->pause(1000);
        m_notifications.stop(*m_logger);
    }

    const std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
    Wire& m_wire;
    Process& m_process;
    const std::shared_ptr<ProcessThreads> m_threads;
    NotificationDependencies m_services;
    NotificationThread m_notifications;
    const std::unique_ptr<QThread> m_main;
};

QString eventsTravel(World& world) {
    Wire& wire = world.keep(std::make_unique<Wire>(world));
    std::vector<Exchanger*> all;
    for (const char* const name : {"A", "B", "C"})
        all.push_back(&world.keep(std::make_unique<Exchanger>(world, wire, name, all.empty())));
    const QString rule = world.run(200000, 20000);
    for (const Exchanger* const one : all)
        if (rule.isEmpty() && one->heard != (one == all.front() ? std::vector<Event>() : sent))
            return QStringLiteral("an event was lost, came twice, or too early");
    return rule;
}

} // namespace

class EventExchangeTest : public QObject {
    Q_OBJECT

private slots:
    void eventsArriveOnceAndInOrder() {
        const Runs runs(eventsTravel);
        std::set<quint64> traces;
        for (quint64 seed = 0; seed < 100; seed++) {
            const Result result = runs.runTwice(seed);
            if (!result.rule.isEmpty())
                QFAIL(qPrintable(runs.explain(seed, result)));
            QCOMPARE(runs.replay(result.record).fingerprint, result.fingerprint);
            traces.insert(result.fingerprint);
        }
        QCOMPARE(int(traces.size()), 100);
    }
};

int main(int argumentCount, char** arguments) {
    return runTest<EventExchangeTest>(argumentCount, arguments);
}

#include "EventExchangeTest.moc"
