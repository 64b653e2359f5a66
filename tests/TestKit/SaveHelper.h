#pragma once

#include "TestKit/HelperProcess.h"

#include <QDateTime>

namespace Velquor::TestKit {

/// A run of the program "save_helper": another process that saves the login state. Each save of a product has a number, which
/// the file holds as the token's expiry date. Thread: the test's. Owner: the test.
class SaveHelper : public HelperProcess {
public:
    explicit SaveHelper(const QStringList& arguments,
                        const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment());
    ~SaveHelper() override;

    /// True once it is about to save.
    [[nodiscard]] bool isReady();
    /// Lets it save once, with a fault of the file system (see the program); "saved", "failed", or empty when it says nothing.
    [[nodiscard]] QByteArray save(const QByteArray& fault);

    /// The number of the last save that it has reported, 0 for none, and the longest time that one took.
    [[nodiscard]] int acknowledged() const { return m_acknowledged; }
    [[nodiscard]] int longestMs() const { return m_longestMs; }
    [[nodiscard]] int saves() const { return m_saves; }
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

    /// The expiry date that means a number.
    [[nodiscard]] static QDateTime dateOf(int number) { return firstDate().addSecs(number); }
    [[nodiscard]] static int numberOf(const QDateTime& date) { return date.isValid() ? int(firstDate().secsTo(date)) : 0; }

private:
    static QDateTime firstDate() { return {QDate(2090, 1, 1), QTime(0, 0), Qt::UTC}; }
    void keepLines();

    bool m_isReady = false;
    bool m_hasFailed = false;
    QByteArray m_lastWord;
    int m_acknowledged = 0;
    int m_longestMs = 0;
    int m_saves = 0;
};

} // namespace Velquor::TestKit
