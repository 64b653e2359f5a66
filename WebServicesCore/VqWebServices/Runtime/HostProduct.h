#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// Facts about the host that follow from the path of its executable. Thread: any.

/// The name of the host product: "VelquorSync" for the companion sync program, otherwise the base name of the executable.
[[nodiscard]] QString hostProductName(const QString& executablePath);

/// True when the host is the single-sign-on server, which signs other processes in and is not a product itself. Its executable is
/// named "VqSSOServer", in upper or lower case.
[[nodiscard]] bool isSSOServerHost(const QString& executablePath);

/// The HTTP user agent of a host: its name and file version ("0.0.0.0" when it has none), this library and the system.
[[nodiscard]] QString userAgentText(const QString& executablePath, const QString& fileVersion, const QString& systemVersion);

} // namespace Velquor::WebServices::Internal
