#include "UnsavedWorkQuestion.h"

#include <QPushButton>

UnsavedWorkQuestion::UnsavedWorkQuestion(QWidget* parent)
    : QMessageBox(parent) {
    setObjectName(QStringLiteral("unsavedWorkQuestion"));
    setAttribute(Qt::WA_DeleteOnClose);
    setIcon(QMessageBox::Warning);
    setWindowTitle(tr("Unsaved note"));
    setText(tr("Your note has changes that are not saved."));
    setInformativeText(tr("You are still signed in. Save the note before you sign out of all your products?"));
    setDefaultButton(addButton(tr("&Save and sign out"), QMessageBox::AcceptRole));
    addButton(tr("&Discard and sign out"), QMessageBox::DestructiveRole);
    setEscapeButton(addButton(tr("S&tay signed in"), QMessageBox::RejectRole));
    connect(this, &QMessageBox::buttonClicked, this, &UnsavedWorkQuestion::answer);
}

void UnsavedWorkQuestion::answer(QAbstractButton* button) {
    switch (buttonRole(button)) {
    case QMessageBox::AcceptRole: emit saveWanted(); break;
    case QMessageBox::DestructiveRole: emit discardWanted(); break;
    default: break;
    }
}
