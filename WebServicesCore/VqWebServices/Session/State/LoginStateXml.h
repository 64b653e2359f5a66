#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QDomElement>
#include <QString>

namespace Velquor::WebServices::Internal {

/// The value encodings of the login state file. Values are attributes; secrets are the CDATA text of an element. Thread: that of
/// the document.
namespace LoginStateXml {

/// Whether a text of the file can hold the character, so that the file can be read again.
[[nodiscard]] bool isStorable(uint character);

/// The text without characters that the file cannot hold, cut to the length that any name may have.
[[nodiscard]] QString storableText(const QString& text);

/// Writes the storable part of the text.
void setText(QDomElement& element, const QString& name, const QString& text);

/// The date in UTC, ISO 8601; an invalid date is written as the empty text, which reads as an invalid date.
void setDate(QDomElement& element, const QString& name, const QDateTime& date);
[[nodiscard]] QDateTime date(const QDomElement& element, const QString& name);

/// "True" or "False".
void setFlag(QDomElement& element, const QString& name, bool value);

/// The number in decimal text, or `fallback` when it is missing or no number.
[[nodiscard]] int number(const QDomElement& element, const QString& name, int fallback);

/// Writes the encrypted value as the CDATA text of the child, replacing an earlier one; an empty value removes the child.
void setSecret(QDomElement& parent, const QString& name, const QByteArray& encrypted);
[[nodiscard]] QByteArray secret(const QDomElement& parent, const QString& name);

/// Removes the children of that name, all but the first `kept`.
void removeChildren(QDomElement& parent, const QString& name, int kept = 0);

/// The child of that name, created when it is missing.
[[nodiscard]] QDomElement childOrNew(QDomElement& parent, const QString& name);

} // namespace LoginStateXml

} // namespace Velquor::WebServices::Internal
