#pragma once

#include "AccountState.h"
#include "Card.h"

#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

/// Shows what the product is waiting for and since when, with a button to cancel.
///
/// Thread: the main thread. Owner: the main window.
class ActivityBar : public Card {
    Q_OBJECT

public:
    explicit ActivityBar(QWidget* parent = nullptr);

    void showActivity(Activity activity);

signals:
    void continueWanted();
    void reopenWanted();
    void cancelWanted();

private:
    void arrange();
    void connectParts();
    void appear();
    void updateText();

    Activity m_activity = Activity::Idle;
    QLabel* m_text;
    QProgressBar* m_progress;
    QPushButton* m_continue;
    QPushButton* m_reopen;
    QPushButton* m_cancel;
    QElapsedTimer m_since;
    QTimer m_delay;
    QTimer m_tick;
};
