#include "NotePanel.h"

#include "Look.h"

#include <QHBoxLayout>
#include <QTextDocument>
#include <utility>

NotePanel::NotePanel(NoteStore store, QWidget* parent)
    : Card(tr("Note"), parent)
    , m_store(std::move(store))
    , m_text(new QPlainTextEdit)
    , m_hint(Look::quietLabel(QStringLiteral("noteHint")))
    , m_save(Look::button(QStringLiteral("saveNoteButton"), tr("Sav&e"), tr("Save the note (Ctrl+S)"))) {
    arrange();
    connect(m_text->document(), &QTextDocument::modificationChanged, this, &NotePanel::updateParts);
    connect(m_save, &QPushButton::clicked, this, &NotePanel::save);
    updateParts();
}

void NotePanel::arrange() {
    m_text->setObjectName(QStringLiteral("noteText"));
    m_text->setAccessibleName(tr("Note"));
    // A note is prose. The Tab key moves on to the next part, as everywhere else.
    m_text->setTabChangesFocus(true);
    auto* const row = new QHBoxLayout;
    row->addWidget(m_hint, 1);
    row->addWidget(m_save);
    content().addWidget(m_text, 1);
    content().addLayout(row);
}

void NotePanel::showState(const AccountState& state) {
    const QString owner =
        state.isSignedIn ? QStringLiteral("%1 %2").arg(state.userId).arg(static_cast<int>(state.server)) : QString();
    if (owner == m_owner)
        return;
    keepDraft();
    m_owner = owner;
    load();
}

void NotePanel::load() {
    const NoteStore::Note note = m_owner.isEmpty() ? NoteStore::Note() : m_store.read(m_owner);
    m_text->setPlainText(note.text);
    m_text->document()->setModified(note.isDraft);
    updateParts();
}

bool NotePanel::hasUnsavedWork() const {
    return !m_owner.isEmpty() && m_text->document()->isModified();
}

bool NotePanel::save() {
    if (!hasUnsavedWork())
        return true;
    if (!m_store.save(m_owner, m_text->toPlainText())) {
        emit failed(FailureTexts::noteNotSaved());
        return false;
    }
    m_text->document()->setModified(false);
    emit saved();
    return true;
}

void NotePanel::discard() {
    m_store.removeDraft(m_owner);
    load();
}

void NotePanel::keepDraft() {
    if (hasUnsavedWork() && !m_store.keepDraft(m_owner, m_text->toPlainText()))
        emit failed(FailureTexts::noteNotSaved());
}

void NotePanel::updateParts() {
    const bool isUnsaved = hasUnsavedWork();
    m_text->setEnabled(!m_owner.isEmpty());
    // The button that becomes disabled would pass the focus to the next part. The user writes on.
    if (!isUnsaved && m_save->hasFocus())
        m_text->setFocus();
    m_save->setEnabled(isUnsaved);
    if (m_owner.isEmpty())
        m_hint->setText(tr("Sign in to write a note. Each user has their own."));
    else
        m_hint->setText(isUnsaved ? tr("The note has changes that are not saved.") : tr("The note is saved."));
}
