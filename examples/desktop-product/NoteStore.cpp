#include "NoteStore.h"

#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QUrl>
#include <utility>

namespace {

const auto savedSuffix = QStringLiteral(".txt");
const auto draftSuffix = QStringLiteral(".draft");

bool write(const QString& name, const QString& text) {
    QSaveFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(text.toUtf8()) >= 0 && file.commit();
}

QString content(const QString& name) {
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

} // namespace

NoteStore::NoteStore(QString folder)
    : m_folder(std::move(folder)) {}

NoteStore::Note NoteStore::read(const QString& owner) const {
    const QString draft = file(owner, draftSuffix);
    const bool isDraft = QFile::exists(draft);
    return {content(isDraft ? draft : file(owner, savedSuffix)), isDraft};
}

bool NoteStore::save(const QString& owner, const QString& text) const {
    if (!QDir().mkpath(m_folder) || !write(file(owner, savedSuffix), text))
        return false;
    removeDraft(owner);
    return true;
}

bool NoteStore::keepDraft(const QString& owner, const QString& text) const {
    return QDir().mkpath(m_folder) && write(file(owner, draftSuffix), text);
}

void NoteStore::removeDraft(const QString& owner) const {
    QFile::remove(file(owner, draftSuffix));
}

QString NoteStore::file(const QString& owner, const QString& suffix) const {
    // An id may hold characters that no file name may hold.
    return m_folder + QLatin1Char('/') + QString::fromLatin1(QUrl::toPercentEncoding(owner)) + suffix;
}
