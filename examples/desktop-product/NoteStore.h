#pragma once

#include <QString>

/// The notes of the users on this computer, a file for each. An unsaved note is kept as a draft when its user goes.
///
/// Thread: the main thread. Errors: a false or empty result.
class NoteStore {
public:
    explicit NoteStore(QString folder);

    struct Note {
        QString text;
        bool isDraft = false;
    };
    /// The draft, or the saved note when there is no draft.
    [[nodiscard]] Note read(const QString& owner) const;
    /// Saves the note and removes its draft.
    [[nodiscard]] bool save(const QString& owner, const QString& text) const;
    [[nodiscard]] bool keepDraft(const QString& owner, const QString& text) const;
    void removeDraft(const QString& owner) const;

private:
    [[nodiscard]] QString file(const QString& owner, const QString& suffix) const;

    QString m_folder;
};
