#include "simulation/Report.h"

namespace Velquor::Simulation {

void Report::add(int step, qint64 timeUs, const QByteArray& actor, const QByteArray& what) {
    mix(QByteArray::fromRawData(reinterpret_cast<const char*>(&timeUs), sizeof(timeUs)));
    mix(actor);
    mix(what);
    if (m_keepsLines)
        m_lines += QStringLiteral("%1 %2 s  %3 %4")
                       .arg(step, 5)
                       .arg(double(timeUs) / 1e6, 14, 'f', 6)
                       .arg(QString::fromUtf8(actor), -18)
                       .arg(QString::fromUtf8(what));
}

void Report::mix(const QByteArray& bytes) {
    // FNV-1a; Qt's own hash has a seed of the process.
    for (const char byte : bytes)
        m_fingerprint = (m_fingerprint ^ quint8(byte)) * 0x100000001b3U;
    m_fingerprint = (m_fingerprint ^ 0xffU) * 0x100000001b3U;
}

} // namespace Velquor::Simulation
