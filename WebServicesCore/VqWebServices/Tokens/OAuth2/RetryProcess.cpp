#include "Tokens/OAuth2/RetryProcess.h"

#include <utility>

namespace Velquor::WebServices::Internal {

RetryProcess::RetryProcess(Clock clock)
    : m_clock(std::move(clock)) {}

void RetryProcess::start(const StdUtil::RetrySchedule& schedule) {
    m_schedule = schedule;
    m_entry = 0;
    m_attempts = 0;
    m_start = m_clock();
    m_entryStart = m_start;
    m_active = true;
}

qint64 RetryProcess::millisecondsSince(qint64 start) const {
    return (m_clock() - start) / 1000000;
}

bool RetryProcess::isOver() const {
    return m_schedule.maximumPeriod != 0 && elapsed() >= m_schedule.maximumPeriod;
}

std::optional<qint64> RetryProcess::next() {
    if (!m_active || m_entry >= m_schedule.entries.size())
        return {};
    ++m_attempts;
    if (isOver())
        return {};
    const bool isLast = m_entry + 1 == m_schedule.entries.size();
    if (!isLast && millisecondsSince(m_entryStart) >= m_schedule.entries[m_entry].period) {
        ++m_entry;
        m_entryStart = m_clock();
    }
    return m_schedule.entries[m_entry].interval;
}

} // namespace Velquor::WebServices::Internal
