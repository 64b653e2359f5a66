#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// A value of the library's settings: the registry key "HKEY_CURRENT_USER\Software\Velquor\Web Services" on Windows, the settings
/// file of organisation "Velquor", application "Web Services" elsewhere. Empty when it is not set, or when the file is another
/// user's: the settings choose servers, files and folders. Thread: any.
[[nodiscard]] QString librarySetting(const QString& name);

} // namespace Velquor::WebServices::Internal
