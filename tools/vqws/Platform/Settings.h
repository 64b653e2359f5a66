#pragma once

#include <QString>

namespace Vqws {

/// A value of the library's settings, read as the library does; empty when it is not set. Thread: any.
[[nodiscard]] QString setting(const QString& name);

/// The file of the settings, whether it is there or not. Empty where settings are in no file (Windows).
[[nodiscard]] QString settingsFile();

/// The same when there is one that the library does not read: it belongs to another user, or is no regular file.
/// Empty otherwise.
[[nodiscard]] QString ignoredSettingsFile();

} // namespace Vqws
