#include "simulation/Library/SimClaims.h"

namespace Velquor::Simulation {

using namespace WebServices::Internal;

namespace {

class Guard final : public Util::IProcessGuard {
public:
    Guard(SimLock& lock, ClaimsTable& table)
        : m_lock(lock)
        , m_table(table) {}
    Result acquire(int timeoutMs) override {
        if (m_lock.try_lock_for(std::chrono::milliseconds(timeoutMs)))
            return Result::Acquired;
        m_table.refusals++;
        return Result::TimedOut;
    }
    void release() override { m_lock.unlock(); }
    [[nodiscard]] QString errorText() const override { return {}; }

private:
    SimLock& m_lock;
    ClaimsTable& m_table;
};

class PendingRefresh final : public IPendingRefresh {
public:
    PendingRefresh(ClaimsTable& table, const Process& process, const QString& keyDigest)
        : m_table(table)
        , m_process(process)
        , m_keyDigest(keyDigest) {}
    [[nodiscard]] bool isSet() const override { return m_table.pendingRefreshes.count(m_keyDigest) > 0; }
    void set() override {
        if (!m_process.isKilled)
            m_table.pendingRefreshes.insert(m_keyDigest);
    }
    void clear() override {
        if (!m_process.isKilled)
            m_table.pendingRefreshes.erase(m_keyDigest);
    }

private:
    ClaimsTable& m_table;
    const Process& m_process;
    const QString m_keyDigest;
};

class QueryFailures final : public IQueryFailures {
public:
    QueryFailures(ClaimsTable& table, const Process& process, const QString& lockName)
        : m_table(table)
        , m_process(process)
        , m_lockName(lockName) {}
    [[nodiscard]] QueryFailure read(const QString& signInId) const override {
        const auto found = m_table.failures.find(m_lockName);
        return found != m_table.failures.end() && found->second.signInId == signInId ? found->second : QueryFailure();
    }
    void write(const QueryFailure& failure) override {
        if (!m_process.isKilled)
            m_table.failures[m_lockName] = failure;
    }
    void remove() override {
        if (!m_process.isKilled)
            m_table.failures.erase(m_lockName);
    }

private:
    ClaimsTable& m_table;
    const Process& m_process;
    const QString m_lockName;
};

} // namespace

std::unique_ptr<Util::IProcessGuard> SimClaims::makeGuard(const QString& name, const QString&) {
    std::unique_ptr<SimLock>& lock = m_table.locks[name];
    if (!lock)
        lock = std::make_unique<SimLock>(m_world, name.section(QLatin1Char('.'), 2, 2).toUtf8());
    return std::make_unique<Guard>(*lock, m_table);
}

std::unique_ptr<IPendingRefresh> SimClaims::makePendingRefresh(const QString& keyDigest, const QString&) {
    return std::make_unique<PendingRefresh>(m_table, m_process, keyDigest);
}

std::unique_ptr<IQueryFailures> SimClaims::makeQueryFailures(const QString& lockName, const QString&) {
    return std::make_unique<QueryFailures>(m_table, m_process, lockName);
}

} // namespace Velquor::Simulation
