#pragma once

#include "VqUtil/General/Result.h"

#include <QByteArray>
#include <QString>

namespace Velquor::Util {

/// What is done with an XML text that may be hostile before a parser sees it. Linear in the size of the text. Thread: any.

/// The characters of the text, in the encoding that its byte order mark or its declaration names, or else in UTF-8.
[[nodiscard]] Result<QString> xmlCharacters(const QByteArray& text);

/// The same for a text that is in UTF-8 whatever it says.
[[nodiscard]] Result<QString> utf8Characters(const QByteArray& text);

/// Whether a tag has more attributes than this. Parsers compare each with each, so a single tag could keep them busy for minutes.
/// Right up to the first place at which the text is not well-formed; a parser stops there.
[[nodiscard]] bool hasTagWithMoreAttributes(const QString& text, int limit);

} // namespace Velquor::Util
