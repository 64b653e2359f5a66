#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// Whether a text of the login state file can hold the character, so that the file can be read again. Thread: any.
[[nodiscard]] bool isStorable(uint character);

/// The text without characters that the file cannot hold, cut to the length that any name may have. Thread: any.
[[nodiscard]] QString storableText(const QString& text);

} // namespace Velquor::WebServices::Internal
