#pragma once

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

namespace Velquor::TestKit {

/// A run of the program "save_helper", which lies beside the test: another process that saves the login state. Each save of a
/// product has a number, which stands in the file as the token's expiry date. Ends with this object at the latest. Thread: the
/// test's. Owner: the test.
class SaveHelper : public QProcess {
public:
    explicit SaveHelper(const QStringList& arguments,
                        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment()) {
        setProcessEnvironment(environment);
        connect(this, &QProcess::readyReadStandardOutput, this, &SaveHelper::keepLines);
        start(QCoreApplication::applicationDirPath() + QStringLiteral("/save_helper"), arguments);
    }

    ~SaveHelper() override {
        disconnect(this, &QProcess::readyReadStandardOutput, this, &SaveHelper::keepLines);
        killNow();
    }

    /// True once it is about to save.
    [[nodiscard]] bool isReady() {
        const QDeadlineTimer deadline(20000);
        while (!m_isReady && !deadline.hasExpired() && waitForReadyRead(20000)) {
        }
        return m_isReady;
    }

    /// Lets it save once, with a fault of the file system (see the program); "saved", "failed", or empty when it says nothing.
    [[nodiscard]] QByteArray save(const QByteArray& fault) {
        m_lastWord.clear();
        write(fault + '\n');
        const QDeadlineTimer deadline(20000);
        while (m_lastWord.isEmpty() && !deadline.hasExpired() && waitForReadyRead(20000)) {
        }
        return m_lastWord;
    }

    /// The number of the last save that it has told of, 0 for none, and the longest time that one took.
    [[nodiscard]] int acknowledged() const { return m_acknowledged; }
    [[nodiscard]] int longestMs() const { return m_longestMs; }
    [[nodiscard]] int saves() const { return m_saves; }
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

    /// Ends it in the middle of whatever it does.
    void killNow() {
        kill();
        waitForFinished(10000);
    }

    /// The expiry date that stands for a number.
    [[nodiscard]] static QDateTime dateOf(int number) { return firstDate().addSecs(number); }
    [[nodiscard]] static int numberOf(const QDateTime& date) {
        return date.isValid() ? static_cast<int>(firstDate().secsTo(date)) : 0;
    }

private:
    static QDateTime firstDate() { return {QDate(2090, 1, 1), QTime(0, 0), Qt::UTC}; }

    void keepLines() {
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

    bool m_isReady = false;
    bool m_hasFailed = false;
    QByteArray m_lastWord;
    int m_acknowledged = 0;
    int m_longestMs = 0;
    int m_saves = 0;
};

} // namespace Velquor::TestKit
