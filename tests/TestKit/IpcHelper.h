#pragma once

#include "TestKit/HelperProcess.h"

#include <QVector>

namespace Velquor::TestKit {

/// A run of the program "ipc_helper": another process that sends or receives messages. Its output is kept as it comes.
/// Thread: the test's. Owner: the test.
class IpcHelper : public HelperProcess {
public:
    struct Heard {
        QByteArray name;
        QByteArray from;
        int number = -1;
        qint64 ageUs = 0;
    };

    explicit IpcHelper(const QStringList& arguments,
                       const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
        : HelperProcess("ipc_helper", arguments, environment) {
        connect(this, &QProcess::readyReadStandardOutput, this, &IpcHelper::keepLines);
    }
    ~IpcHelper() override { disconnect(this, &QProcess::readyReadStandardOutput, this, &IpcHelper::keepLines); }

    [[nodiscard]] const QVector<Heard>& heard() const { return m_heard; }
    /// The numbers in the messages of one sender, in their order.
    [[nodiscard]] QVector<int> numbers(const QByteArray& from) const {
        QVector<int> found;
        for (const Heard& one : m_heard) {
            if (one.from == from)
                found += one.number;
        }
        return found;
    }
    /// Whether it was the serving process when it received its latest message.
    [[nodiscard]] bool isServing() const { return m_isServing; }
    [[nodiscard]] bool hasSent() const { return m_hasSent; }
    [[nodiscard]] bool wasRefused() const { return m_wasRefused; }

private:
    void keepLines() {
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

    QVector<Heard> m_heard;
    bool m_isServing = false;
    bool m_hasSent = false;
    bool m_wasRefused = false;
};

} // namespace Velquor::TestKit
