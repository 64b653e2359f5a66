#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// File name of the SSL library that products install in the folder of this library.
[[nodiscard]] inline QString sslLibraryFileName() {
    return QStringLiteral("libssl-Vq-1_1-x64.dll");
}

/// File name of the crypto library that products install in the folder of this library.
[[nodiscard]] inline QString cryptoLibraryFileName() {
    return QStringLiteral("libcrypto-Vq-1_1-x64.dll");
}

} // namespace Velquor::WebServices::Internal
