#pragma once

#include <QByteArray>
#include <QStringList>

namespace Velquor::Simulation {

/// The trace of one run: a fingerprint of every step always, its lines when they are wanted.
///
/// Thread: the holder of the baton. Owner: the world.
class Report {
public:
    explicit Report(bool keepsLines)
        : m_keepsLines(keepsLines) {}

    /// A step of an actor, or what it noted in one.
    void add(int step, qint64 timeUs, const QByteArray& actor, const QByteArray& what);

    /// Equal for runs with equal steps.
    [[nodiscard]] quint64 fingerprint() const { return m_fingerprint; }
    [[nodiscard]] const QStringList& lines() const { return m_lines; }

private:
    void mix(const QByteArray& bytes);

    const bool m_keepsLines;
    quint64 m_fingerprint = 0xcbf29ce484222325U;
    QStringList m_lines;
};

} // namespace Velquor::Simulation
