#pragma once

#include <QString>

class QNetworkReply;

namespace Velquor::WebServices::Internal {

/// The SSL libraries that a process has loaded. Plain value.
struct SslLibraryFacts {
    QString version;
    QString sslPath;
    QString sslFileVersion;
    QString cryptoPath;
    QString cryptoFileVersion;
};

/// Why a request failed when the SSL libraries could not be loaded; empty for another failure. Thread: the reply's.
[[nodiscard]] QString sslDiagnosis(const QNetworkReply* reply);

/// The version line of such libraries. Thread: any.
[[nodiscard]] QString sslVersionLine(const SslLibraryFacts& facts);

/// The version line of the SSL libraries that this process has loaded. Thread: any.
[[nodiscard]] QString loadedSslVersionLine();

} // namespace Velquor::WebServices::Internal
