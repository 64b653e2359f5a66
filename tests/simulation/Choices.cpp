#include "simulation/Choices.h"

#include <QByteArrayList>

#include <algorithm>
#include <cstring>
#include <utility>

namespace Velquor::Simulation {

QByteArray textOf(const Record& record) {
    QByteArrayList words;
    int repeats = 1;
    for (std::size_t index = 0; index < record.size(); index++) {
        const Step& step = record[index];
        const bool isPlain = step.choices.empty();
        if (isPlain && index + 1 < record.size() && record[index + 1].choices.empty() && record[index + 1].actor == step.actor) {
            repeats++;
            continue;
        }
        QByteArrayList choices;
        for (const Choice& choice : step.choices)
            choices += choice.what + '=' + QByteArray::number(choice.value);
        words += step.actor + (repeats > 1 ? '*' + QByteArray::number(repeats) : QByteArray())
                 + (isPlain ? QByteArray() : ':' + choices.join(','));
        repeats = 1;
    }
    return words.join(' ');
}

Record recordFromText(const QByteArray& text) {
    Record record;
    for (const QByteArray& word : text.split(' ')) {
        const QList<QByteArray> halves = word.split(':');
        const QList<QByteArray> actor = halves.first().split('*');
        Step step{actor.first(), {}};
        for (const QByteArray& choice : halves.value(1).split(','))
            if (choice.contains('='))
                step.choices.push_back({choice.split('=').first(), choice.split('=').last().toInt()});
        record.insert(record.end(), std::size_t(std::max(1, actor.value(1).toInt())), step);
    }
    return record;
}

Choices::Choices(quint64 seed)
    : m_isReplay(false)
    , m_state(seed)
    , m_record(1) {}

Choices::Choices(Record replayed)
    : m_isReplay(true)
    , m_replayed(std::move(replayed))
    , m_record(1) {
    if (!m_replayed.empty() && m_replayed.front().actor.isEmpty())
        m_given = m_replayed[m_next++].choices;
}

quint64 Choices::random() {
    // SplitMix64: the standard's distributions differ between libraries.
    quint64 z = (m_state += 0x9e3779b97f4a7c15U);
    z = (z ^ (z >> 30U)) * 0xbf58476d1ce4e5b9U;
    z = (z ^ (z >> 27U)) * 0x94d049bb133111ebU;
    return z ^ (z >> 31U);
}

int Choices::pick(int n, const char* what) {
    return decide(n, what, [this, n] { return int(random() % quint64(n)); });
}

bool Choices::chance(int percent, const char* what) {
    return decide(2, what, [this, percent] { return random() % 100 < quint64(percent) ? 1 : 0; }) != 0;
}

bool Choices::rarely(int perThousand, const char* what) {
    return decide(2, what, [this, perThousand] { return random() % 1000 < quint64(perThousand) ? 1 : 0; }) != 0;
}

// The second decision of a name in one step is another one, also when the first is not recorded.
QByteArray Choices::nameInStep(const char* what, std::ptrdiff_t before) {
    return before == 0 ? QByteArray(what) : QByteArray(what) + '#' + QByteArray::number(int(before) + 1);
}

int Choices::decide(int n, const char* what, const std::function<int()>& draw) {
    const auto before =
        std::count_if(m_drawn.begin(), m_drawn.end(), [what](const char* drawn) { return std::strcmp(drawn, what) == 0; });
    m_drawn.push_back(what);
    const int drawn = m_isReplay ? recorded(nameInStep(what, before)) : draw();
    const int value = drawn < n ? drawn : 0;
    if (value != 0)
        m_record.back().choices.push_back({nameInStep(what, before), value});
    return value;
}

int Choices::recorded(const QByteArray& what) {
    const auto found =
        std::find_if(m_given.begin(), m_given.end(), [&what](const Choice& choice) { return choice.what == what; });
    if (found == m_given.end())
        return 0;
    const int value = found->value;
    m_given.erase(found);
    return value;
}

int Choices::actor(const std::vector<QByteArray>& runnable, const std::function<int()>& draw) {
    const int index = m_isReplay ? replayedActor(runnable) : draw();
    m_drawn.clear();
    m_record.push_back({runnable[std::size_t(index)], {}});
    return index;
}

int Choices::replayedActor(const std::vector<QByteArray>& runnable) {
    const auto indexOf = [&runnable](const QByteArray& name) {
        const auto found = std::find(runnable.begin(), runnable.end(), name);
        return found == runnable.end() ? -1 : int(found - runnable.begin());
    };
    m_given.clear();
    while (m_next < m_replayed.size()) {
        const Step& step = m_replayed[m_next++];
        const int index = indexOf(step.actor);
        if (index < 0)
            continue;
        m_given = step.choices;
        return index;
    }
    return std::max(0, indexOf(m_record.back().actor));
}

} // namespace Velquor::Simulation
