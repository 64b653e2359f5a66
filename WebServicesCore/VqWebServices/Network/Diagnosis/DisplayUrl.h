#pragma once

#include <QString>
#include <QUrl>

namespace Velquor::WebServices::Internal {

/// A URL for the log: without user info and fragment, query values that are not on the allow-list as "***". Thread: any.
[[nodiscard]] QString displayUrl(const QUrl& url);

/// Fields joined by '&' in their encoded form, as a query or a form body has them, with hidden values as "***".
[[nodiscard]] QString maskedFields(const QString& encodedFields);

/// Whether a text can be the name of a field; a longer or different text may itself be a secret.
[[nodiscard]] bool isFieldName(const QString& text);

/// A text with all URLs in display form, for example an error string of the framework. `url` is known to be in the text, maybe
/// with blanks.
[[nodiscard]] QString withUrlsMasked(const QString& text, const QUrl& url);

} // namespace Velquor::WebServices::Internal
