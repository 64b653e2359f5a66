#include "simulation/Shrinker.h"

#include <algorithm>
#include <set>

namespace Velquor::Simulation {

namespace {

QString kindOf(const QString& rule) {
    return rule.section(QLatin1Char(':'), 0, 0);
}

std::size_t choicesIn(const Record& record) {
    std::size_t sum = 0;
    for (const Step& step : record)
        for (const Choice& choice : step.choices)
            sum += std::size_t(choice.value);
    return sum;
}

} // namespace

Record Shrinker::shrink(const Result& failure) {
    m_kind = kindOf(failure.rule);
    m_best = failure.record;
    m_time.start();
    std::size_t before = 0;
    do {
        before = m_best.size() + choicesIn(m_best);
        dropProcesses();
        dropChunks();
        lowerChoices();
    } while (m_best.size() + choicesIn(m_best) < before && !isSpent());
    return m_best;
}

bool Shrinker::isSpent() const {
    return m_replays >= replayLimit || m_time.elapsed() >= timeLimitMs;
}

bool Shrinker::accept(const Record& shorter) {
    if (isSpent())
        return false;
    m_replays++;
    const Result result = m_replay(shorter);
    // The run says what really happened, which may be longer: what a record does not say goes on by itself.
    const bool isShorter = result.record.size() < m_best.size()
                           || (result.record.size() == m_best.size() && choicesIn(result.record) < choicesIn(m_best));
    if (kindOf(result.rule) != m_kind || !isShorter)
        return false;
    m_best = result.record;
    return true;
}

void Shrinker::dropProcesses() {
    std::set<QByteArray> processes;
    for (const Step& step : m_best)
        if (!step.actor.isEmpty())
            processes.insert(step.actor.left(step.actor.indexOf('.')));
    for (const QByteArray& process : processes) {
        Record shorter = m_best;
        const auto isOfProcess = [&process](const Step& step) { return step.actor.startsWith(process + '.'); };
        shorter.erase(std::remove_if(shorter.begin(), shorter.end(), isOfProcess), shorter.end());
        (void)accept(shorter);
    }
}

void Shrinker::dropChunks() {
    for (std::size_t size = m_best.size() / 2; size > 0; size /= 2) {
        for (std::size_t at = 1; at < m_best.size();) {
            Record shorter = m_best;
            shorter.erase(shorter.begin() + qint64(at), shorter.begin() + qint64(std::min(at + size, shorter.size())));
            if (!accept(shorter))
                at += size;
        }
    }
}

void Shrinker::lowerChoices() {
    for (std::size_t step = 0; step < m_best.size(); step++) {
        for (std::size_t choice = 0; choice < m_best[step].choices.size(); choice++) {
            for (const int divisor : {0, 2}) {
                Record shorter = m_best;
                int& value = shorter[step].choices[choice].value;
                value = divisor == 0 ? 0 : value / divisor;
                if (accept(shorter))
                    break;
            }
            if (step >= m_best.size())
                return;
        }
    }
}

} // namespace Velquor::Simulation
