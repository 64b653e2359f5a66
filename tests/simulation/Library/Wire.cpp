#include "simulation/Library/Wire.h"

#include <QTimer>
#include <algorithm>

namespace Velquor::Simulation {

using namespace WebServices::Internal;

class WiredFile final : public IEventFile {
public:
    WiredFile(Wire& wire, const Process& process)
        : m_wire(wire)
        , m_process(process) {}
    ~WiredFile() override { stop(); }
    void StartWatching() override { m_wire.m_files.push_back(this); }
    void StopWatching() override { stop(); }
    void RaiseEvent(int id, const QVariantMap& params) override {
        if (!m_process.isKilled)
            m_wire.carry(m_wire.m_files, this, nullptr,
                         [id, params](WiredFile& end) { emit end.InterProcessEventReceived(id, params); });
    }

private:
    void stop() { m_wire.m_files.erase(std::remove(m_wire.m_files.begin(), m_wire.m_files.end(), this), m_wire.m_files.end()); }

    Wire& m_wire;
    const Process& m_process;
};

class WiredMessaging final : public Util::IMessaging {
public:
    WiredMessaging(Wire& wire, const Process& process)
        : m_wire(wire)
        , m_process(process) {}
    ~WiredMessaging() override { end(); }
    bool start(const QString&, const QString&) override {
        if (m_wire.m_hasMessaging)
            m_wire.m_sockets.push_back(this);
        return m_wire.m_hasMessaging;
    }
    void stop() override { end(); }
    bool send(const QString& name, const QVariantMap& params) override {
        if (!m_process.isKilled)
            m_wire.carry(m_wire.m_sockets, this, &m_dueUs,
                         [name, params](WiredMessaging& end) { emit end.MessageReceived(name, params); });
        return true;
    }

private:
    void end() {
        m_wire.m_sockets.erase(std::remove(m_wire.m_sockets.begin(), m_wire.m_sockets.end(), this), m_wire.m_sockets.end());
    }

    Wire& m_wire;
    const Process& m_process;
    qint64 m_dueUs = 0;
};

namespace {

class Carriers final : public IEventCarriers {
public:
    Carriers(Wire& wire, const Process& process)
        : m_wire(wire)
        , m_process(process) {}
    std::unique_ptr<IEventFile> makeFile(const QString&, const std::shared_ptr<Log::ILogger>&) override {
        return std::make_unique<WiredFile>(m_wire, m_process);
    }
    std::unique_ptr<Util::IMessaging> makeMessaging(const std::shared_ptr<Log::ILogger>&) override {
        return std::make_unique<WiredMessaging>(m_wire, m_process);
    }

private:
    Wire& m_wire;
    const Process& m_process;
};

} // namespace

Wire::Wire(World& world)
    : m_world(world)
    , m_hasMessaging(!world.choices().chance(30, "no messaging")) {}

std::shared_ptr<IEventCarriers> Wire::carriersOf(const Process& process) {
    return std::make_shared<Carriers>(*this, process);
}

template <typename End, typename Deliver>
void Wire::carry(const std::vector<End*>& ends, const End* sender, qint64* dueUs, const Deliver& deliver) {
    qint64 arrivalUs = m_world.nowUs() + 10000 * m_world.choices().pick(20, "delay");
    if (m_world.choices().chance(faults.late, "late event"))
        arrivalUs += 30000000;
    if (dueUs)
        arrivalUs = *dueUs = std::max(*dueUs + 1000, arrivalUs);
    for (End* const end : ends) {
        if (end == sender)
            continue;
        if (m_world.choices().chance(faults.lost, "lost event")) {
            m_lostCount++;
            continue;
        }
        send(*end, arrivalUs, deliver);
        if (m_world.choices().chance(faults.twice, "event twice"))
            send(*end, arrivalUs + 500000, deliver);
    }
}

template <typename End, typename Deliver>
void Wire::send(End& end, qint64 arrivalUs, const Deliver& deliver) {
    QMetaObject::invokeMethod(
        &end,
        [this, &end, arrivalUs, deliver] {
            // A shot after 0 ms is a posted call, which would overtake an earlier event.
            const int leftMs = int(std::max<qint64>(1, (arrivalUs - m_world.nowUs()) / 1000));
            QTimer::singleShot(leftMs, &end, [&end, deliver] { deliver(end); });
        },
        Qt::QueuedConnection);
}

} // namespace Velquor::Simulation
