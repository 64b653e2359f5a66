#pragma once

#include "AccountState.h"
#include "Card.h"
#include "FailureTexts.h"
#include "NoteStore.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

/// The signed-in user's note, an example of work that a sign-out must not lose.
///
/// When the user is gone without a warning, an unsaved note becomes a draft, and it comes back with its user. Thread: the main
/// thread. Owner: the main window.
class NotePanel : public Card {
    Q_OBJECT

public:
    explicit NotePanel(NoteStore store, QWidget* parent = nullptr);

    void showState(const AccountState& state);
    [[nodiscard]] bool hasUnsavedWork() const;
    /// False after `failed`.
    bool save();
    /// Goes back to the saved note.
    void discard();
    void keepDraft();

signals:
    void saved();
    void failed(const Failure& failure);

private:
    void arrange();
    void load();
    void updateParts();

    const NoteStore m_store;
    /// Empty: nobody is signed in.
    QString m_owner;
    QPlainTextEdit* m_text;
    QLabel* m_hint;
    QPushButton* m_save;
};
