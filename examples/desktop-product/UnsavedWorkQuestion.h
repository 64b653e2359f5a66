#pragma once

#include <QMessageBox>

/// Asks what to do with an unsaved note before a sign-out. It does not wait for the answer: the sign-out was stopped, and begins
/// again after the answer.
///
/// Thread: the main thread. Owner: its parent; it deletes itself when it closes.
class UnsavedWorkQuestion : public QMessageBox {
    Q_OBJECT

public:
    explicit UnsavedWorkQuestion(QWidget* parent);

signals:
    void saveWanted();
    void discardWanted();

private:
    void answer(QAbstractButton* button);
};
