#include "Network/SslDiagnosis.h"

#include "Network/LibraryNames.h"
#include "Network/NetworkErrorText.h"

namespace Velquor::WebServices {

QString sslDiagnosis(const QNetworkReply* reply) {
    if (!reply || reply->error() != QNetworkReply::UnknownNetworkError || httpStatus(*reply) != 0)
        return {};
    const QString libraries =
        QStringLiteral("Failed to load %1 or %2. Make sure these files are installed in the application folder. ")
            .arg(sslLibraryFileName(), cryptoLibraryFileName());
    return QStringLiteral("Unable to init SSL Context") + QStringLiteral(". ") + libraries;
}

QString sslVersionLine(const SslLibraryFacts& facts) {
    return QStringLiteral("%1, libssl: %2 (%3), libcrypto: %4 (%5)")
        .arg(facts.version, facts.sslPath, facts.sslFileVersion, facts.cryptoPath, facts.cryptoFileVersion);
}

} // namespace Velquor::WebServices
