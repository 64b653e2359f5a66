#pragma once

#include "TestKit/HelperProcess.h"

#include <QDateTime>
#include <QDeadlineTimer>

namespace Velquor::TestKit {

/// A run of the program "save_helper": another process that saves the login state. Each save of a product has a number, which
/// the file holds as the token's expiry date. Thread: the test's. Owner: the test.
class SaveHelper : public HelperProcess {
public:
    explicit SaveHelper(const QStringList& arguments,
                        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
        : HelperProcess("save_helper", arguments, environment) {
        connect(this, &QProcess::readyReadStandardOutput, this, &SaveHelper::keepLines);
    }
    ~SaveHelper() override { disconnect(this, &QProcess::readyReadStandardOutput, this, &SaveHelper::keepLines); }

    /// True once it is about to save.
    [[nodiscard]] bool isReady() {
        const QDeadlineTimer deadline(patienceMs);
        while (!m_isReady && !deadline.hasExpired() && waitForReadyRead(patienceMs)) {
        }
        return m_isReady;
    }
    /// Lets it save once, with a fault of the file system (see the program); "saved", "failed", or empty when it says nothing.
    [[nodiscard]] QByteArray save(const QByteArray& fault) {
        m_lastWord.clear();
        write(fault + '\n');
        const QDeadlineTimer deadline(patienceMs);
        while (m_lastWord.isEmpty() && !deadline.hasExpired() && waitForReadyRead(patienceMs)) {
        }
        return m_lastWord;
    }

    /// The number of the last save that it has reported, 0 for none, and the longest time that one took.
    [[nodiscard]] int acknowledged() const { return m_acknowledged; }
    [[nodiscard]] int longestMs() const { return m_longestMs; }
    [[nodiscard]] int saves() const { return m_saves; }
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

    /// The expiry date that means a number.
    [[nodiscard]] static QDateTime dateOf(int number) { return firstDate().addSecs(number); }
    [[nodiscard]] static int numberOf(const QDateTime& date) { return date.isValid() ? int(firstDate().secsTo(date)) : 0; }

private:
    static constexpr int patienceMs = 20000;

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
