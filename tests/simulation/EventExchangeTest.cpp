#include "Events/NotificationManager.h"
#include "Events/NotificationThread.h"
#include "TestKit/RecordingLogger.h"
#include "TestKit/Test.h"
#include "simulation/Platform/OneCore.h"
#include "simulation/ProcessThreads.h"
#include "simulation/Runs.h"
#include "simulation/VirtualApplication.h"

using namespace Velquor;
using namespace Velquor::Simulation;
using namespace Velquor::WebServices::Internal;

namespace {

using Event = WebServicesPrivateCore::WebServicesEvent;
const std::vector<Event> sent = {Event::LoggedIn, Event::TokenRefreshed, Event::ServerChanged, Event::LoggedOut};

class Wire;

class WiredFile final : public IEventFile {
public:
    explicit WiredFile(Wire& wire)
        : m_wire(wire) {}
    ~WiredFile() override { StopWatching(); }
    void StartWatching() override;
    void StopWatching() override;
    void RaiseEvent(int id, const QVariantMap& params) override;

private:
    Wire& m_wire;
};

class WiredMessaging final : public Util::IMessaging {
public:
    explicit WiredMessaging(Wire& wire)
        : m_wire(wire) {}
    ~WiredMessaging() override { stop(); }
    bool start(const QString&, const QString&) override;
    void stop() override;
    bool send(const QString& name, const QVariantMap& params) override;

private:
    Wire& m_wire;
    qint64 m_dueUs = 0;
};

/// Both carriers between all processes. What goes by file comes in any order; the messaging keeps it, or does not work at all.
class Wire final : public IEventCarriers {
public:
    explicit Wire(World& world)
        : m_world(world)
        , m_hasMessaging(!world.choices().chance(30, "no messaging")) {}

    std::unique_ptr<IEventFile> makeFile(const QString&, const std::shared_ptr<Log::ILogger>&) override {
        return std::make_unique<WiredFile>(*this);
    }
    std::unique_ptr<Util::IMessaging> makeMessaging(const std::shared_ptr<Log::ILogger>&) override {
        return std::make_unique<WiredMessaging>(*this);
    }

    /// `dueUs`: when the last message arrives, of a carrier that keeps the order.
    template <typename End, typename Deliver>
    void carry(const std::vector<End*>& ends, const End* sender, qint64* dueUs, const Deliver& deliver) {
        qint64 arrivalUs = m_world.nowUs() + 10000 * m_world.choices().pick(20, "delay");
        if (dueUs)
            arrivalUs = *dueUs = std::max(*dueUs + 1000, arrivalUs);
        for (End* const end : ends) {
            if (end != sender)
                QMetaObject::invokeMethod(
                    end, [this, end, arrivalUs, deliver] { arrive(*end, arrivalUs, deliver); }, Qt::QueuedConnection);
        }
    }

    [[nodiscard]] bool hasMessaging() const { return m_hasMessaging; }

    std::vector<WiredFile*> files;
    std::vector<WiredMessaging*> sockets;

private:
    template <typename End, typename Deliver>
    void arrive(End& end, qint64 arrivalUs, const Deliver& deliver) {
        const int leftMs = int(std::max<qint64>(0, arrivalUs - m_world.nowUs()) / 1000);
        QTimer::singleShot(leftMs, &end, [&end, deliver] { deliver(end); });
    }

    World& m_world;
    const bool m_hasMessaging;
};

void WiredFile::StartWatching() {
    m_wire.files.push_back(this);
}
void WiredFile::StopWatching() {
    m_wire.files.erase(std::remove(m_wire.files.begin(), m_wire.files.end(), this), m_wire.files.end());
}
void WiredFile::RaiseEvent(int id, const QVariantMap& params) {
    m_wire.carry(m_wire.files, this, nullptr, [id, params](WiredFile& end) { emit end.InterProcessEventReceived(id, params); });
}
bool WiredMessaging::start(const QString&, const QString&) {
    if (m_wire.hasMessaging())
        m_wire.sockets.push_back(this);
    return m_wire.hasMessaging();
}
void WiredMessaging::stop() {
    m_wire.sockets.erase(std::remove(m_wire.sockets.begin(), m_wire.sockets.end(), this), m_wire.sockets.end());
}
bool WiredMessaging::send(const QString& name, const QVariantMap& params) {
    m_wire.carry(m_wire.sockets, this, &m_dueUs, [name, params](WiredMessaging& end) { emit end.MessageReceived(name, params); });
    return true;
}

/// A process that exchanges events. Its main thread sends them, when it is the sender.
class Exchanger : public INotificationListener {
public:
    Exchanger(World& world, const std::shared_ptr<Wire>& wire, const QByteArray& name, bool isSender)
        : m_wire(wire)
        , m_threads(std::make_shared<ProcessThreads>(world, world.addProcess(name)))
        , m_notifications(m_threads)
        , m_main(m_threads->make("main", Util::IThreads::Dispatcher::System)) {
        m_services = {QString(), m_logger, [&world] { return world.nowUs() * 1000; }, m_wire, QString::fromUtf8(name)};
        QObject::connect(m_main.get(), &QThread::started, [this, isSender] { run(isSender); });
        m_threads->start(*m_main);
    }

    void eventReceived(Event event, const EventSubject&) override { heard.push_back(event); }
    [[nodiscard]] bool finishReactions() override { return true; }

    std::vector<Event> heard;

private:
    void run(bool isSender) {
        m_notifications.start(m_services, *this);
        for (int seconds = 0; isSender && m_wire->files.size() < 3 && seconds < 100; seconds++)
            m_threads->pause(1000);
        for (const Event event : sent)
            if (isSender)
                m_notifications.send(event, {});
        for (int seconds = 0; !isSender && heard.size() < sent.size() && seconds < 100; seconds++)
            m_threads->pause(1000);
        m_notifications.stop(*m_logger);
    }

    const std::shared_ptr<TestKit::RecordingLogger> m_logger = std::make_shared<TestKit::RecordingLogger>();
    const std::shared_ptr<Wire> m_wire;
    const std::shared_ptr<ProcessThreads> m_threads;
    NotificationDependencies m_services;
    NotificationThread m_notifications;
    const std::unique_ptr<QThread> m_main;
};

QString eventsTravel(World& world) {
    const auto wire = std::make_shared<Wire>(world);
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
        for (quint64 seed = 0; seed < 100; seed++) {
            const Result result = runs.runTwice(seed);
            if (!result.rule.isEmpty())
                QFAIL(qPrintable(runs.explain(seed, result)));
        }
    }
};

int main(int argumentCount, char** arguments) {
    useOneCore();
    const VirtualApplication application(argumentCount, arguments);
    EventExchangeTest test;
    return QTest::qExec(&test, argumentCount, arguments);
}

#include "EventExchangeTest.moc"
