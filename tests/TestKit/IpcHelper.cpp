#include "TestKit/IpcHelper.h"

namespace Velquor::TestKit {

IpcHelper::IpcHelper(const QStringList& arguments, const QProcessEnvironment& environment)
    : HelperProcess("ipc_helper", arguments, environment) {
    connect(this, &QProcess::readyReadStandardOutput, this, &IpcHelper::keepLines);
}

IpcHelper::~IpcHelper() {
    disconnect(this, &QProcess::readyReadStandardOutput, this, &IpcHelper::keepLines);
}

QVector<int> IpcHelper::numbers(const QByteArray& from) const {
    QVector<int> found;
    for (const Heard& one : m_heard) {
        if (one.from == from)
            found += one.number;
    }
    return found;
}

void IpcHelper::keepLines() {
    while (canReadLine()) {
        const QList<QByteArray> words = readLine().trimmed().split(' ');
        m_hasSent = m_hasSent || words.first() == "sent";
        m_wasRefused = m_wasRefused || words.first() == "refused";
        if (words.size() != 5)
            continue;
        m_heard.append({words.at(0), words.at(1), words.at(2).toInt(), words.at(3).toLongLong()});
        m_isServing = words.at(4) == "serves";
    }
}

} // namespace Velquor::TestKit
