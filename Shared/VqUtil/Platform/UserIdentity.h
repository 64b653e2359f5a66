#pragma once

#include <QString>
#include <QStringList>

namespace Velquor::Util {

/// The name of the user whose process this is, as the system knows it; empty when it cannot be told.
/// Windows: `GetUserNameW` with a buffer of 257 characters. Thread: any.
[[nodiscard]] QString currentUserName();

/// The physical addresses of the machine's network adapters, in the system's order: two lower-case hexadecimal digits a byte,
/// no separators; adapters without one are left out. Empty when they cannot be told. Thread: any.
[[nodiscard]] QStringList adapterAddresses();

} // namespace Velquor::Util
