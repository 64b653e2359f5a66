#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// Whether a host is the single-sign-on server, which signs other processes in and is no product itself: its executable is named
/// "VqSSOServer", in any case. Thread: any.
[[nodiscard]] bool isSSOServerHost(const QString& executablePath);

} // namespace Velquor::WebServices::Internal
