#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QVector>

namespace Velquor::TestKit {

/// A run of the program "ipc_helper", which lies beside the test: another process that sends or hears messages. What it says is
/// kept as it comes. Ends with this object at the latest. Thread: the test's. Owner: the test.
class IpcHelper : public QProcess {
public:
    struct Heard {
        QByteArray name;
        QByteArray from;
        int number = -1;
        qint64 ageUs = 0;
    };

    explicit IpcHelper(const QStringList& arguments,
                       const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
        setProcessEnvironment(environment);
        connect(this, &QProcess::readyReadStandardOutput, this, &IpcHelper::keepLines);
        start(QCoreApplication::applicationDirPath() + QStringLiteral("/ipc_helper"), arguments);
    }

    ~IpcHelper() override {
        disconnect(this, &QProcess::readyReadStandardOutput, this, &IpcHelper::keepLines);
        killNow();
    }

    [[nodiscard]] const QVector<Heard>& heard() const { return m_heard; }
    /// The numbers that one sender's messages brought, in their order.
    [[nodiscard]] QVector<int> numbers(const QByteArray& from) const {
        QVector<int> found;
        for (const Heard& one : m_heard) {
            if (one.from == from)
                found += one.number;
        }
        return found;
    }
    /// As it said of itself when it heard its latest message.
    [[nodiscard]] bool isServing() const { return m_isServing; }
    [[nodiscard]] bool hasSent() const { return m_hasSent; }
    [[nodiscard]] bool wasRefused() const { return m_wasRefused; }

    void tell() {
        write("\n");
        waitForBytesWritten(10000);
    }

    /// Ends it in the middle of whatever it does.
    void killNow() {
        kill();
        waitForFinished(10000);
    }

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
