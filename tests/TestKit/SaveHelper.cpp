#include "TestKit/SaveHelper.h"

#include <QDeadlineTimer>

namespace Velquor::TestKit {

namespace {

constexpr int patienceMs = 20000;

} // namespace

SaveHelper::SaveHelper(const QStringList& arguments, const QProcessEnvironment& environment)
    : HelperProcess("save_helper", arguments, environment) {
    connect(this, &QProcess::readyReadStandardOutput, this, &SaveHelper::keepLines);
}

SaveHelper::~SaveHelper() {
    disconnect(this, &QProcess::readyReadStandardOutput, this, &SaveHelper::keepLines);
}

bool SaveHelper::isReady() {
    const QDeadlineTimer deadline(patienceMs);
    while (!m_isReady && !deadline.hasExpired() && waitForReadyRead(patienceMs)) {
    }
    return m_isReady;
}

QByteArray SaveHelper::save(const QByteArray& fault) {
    m_lastWord.clear();
    write(fault + '\n');
    const QDeadlineTimer deadline(patienceMs);
    while (m_lastWord.isEmpty() && !deadline.hasExpired() && waitForReadyRead(patienceMs)) {
    }
    return m_lastWord;
}

void SaveHelper::keepLines() {
    while (canReadLine()) {
        m_lastWord = readLine().trimmed();
        m_isReady = m_isReady || m_lastWord == "ready";
        m_hasFailed = m_hasFailed || m_lastWord == "failed";
        const QList<QByteArray> words = m_lastWord.split(' ');
        if (words.size() != 2)
            continue;
        ++m_saves;
        m_acknowledged = words.at(0).toInt();
        m_longestMs = qMax(m_longestMs, words.at(1).toInt());
    }
}

} // namespace Velquor::TestKit
