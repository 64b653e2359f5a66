#pragma once

#include "Card.h"
#include "FailureTexts.h"

#include <QLabel>
#include <QPushButton>

/// A failure in words: what happened, what to do, and a button that opens the log. Or an information, which has no log. It stays
/// until the user closes it or a later action succeeds.
///
/// Thread: the main thread. Owner: the main window.
class NoticeBar : public Card {
    Q_OBJECT

public:
    explicit NoticeBar(QWidget* parent = nullptr);

    void showFailure(const Failure& failure);

signals:
    void logWanted();
    void closeWanted();

private:
    void showKind(bool isInformation);

    QLabel* m_sign;
    QLabel* m_whatHappened;
    QLabel* m_whatToDo;
    QPushButton* m_log;
    QPushButton* m_close;
};
