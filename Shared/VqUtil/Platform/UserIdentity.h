#pragma once

#include <QString>
#include <QStringList>
#include <optional>

namespace Velquor::Util {

/// The system's name for the user of this process. None when the system does not say, for instance while its directory server is
/// away: that is no answer. Windows: `GetUserNameW` with a buffer of 257 characters. Thread: any.
[[nodiscard]] std::optional<QString> currentUserName();

/// The physical addresses of the network adapters in the system's order: lower-case hexadecimal digits, no separators. Adapters
/// without an address are left out. None when the system does not list them now. Thread: any.
[[nodiscard]] std::optional<QStringList> adapterAddresses();

} // namespace Velquor::Util
