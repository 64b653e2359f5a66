#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The version of this library, as it is written to files and sent with requests.
[[nodiscard]] inline QString libraryVersion() {
    return QStringLiteral("13.4.4.1804");
}

} // namespace Velquor::WebServices::Internal
