#include "Network/Diagnosis/SslDiagnosis.h"

#include "Network/Diagnosis/LibraryNames.h"
#include "Network/Diagnosis/NetworkErrorText.h"
#include "VqUtil/Platform/HostProcess.h"

#include <QSslSocket>
#include <openssl/crypto.h>
#include <openssl/ssl.h>

namespace Velquor::WebServices::Internal {

QString sslDiagnosis(const QNetworkReply* reply) {
    if (!reply || reply->error() != QNetworkReply::UnknownNetworkError || httpStatus(*reply) != 0)
        return {};
    return QStringLiteral(
               "Unable to init SSL Context. Failed to load %1 or %2. Make sure these files are installed in the application folder. ")
        .arg(sslLibraryFileName(), cryptoLibraryFileName());
}

QString sslVersionLine(const SslLibraryFacts& facts) {
    return QStringLiteral("%1, libssl: %2 (%3), libcrypto: %4 (%5)")
        .arg(facts.version, facts.sslPath, facts.sslFileVersion, facts.cryptoPath, facts.cryptoFileVersion);
}

QString loadedSslVersionLine() {
    SslLibraryFacts facts;
    facts.version = QSslSocket::sslLibraryVersionString();
    // By their data: on Windows the address of a function is the one of a jump in the calling module.
    facts.sslPath = Util::modulePathOf(SSL_alert_type_string_long(0));
    facts.sslFileVersion = Util::fileVersion(facts.sslPath);
    facts.cryptoPath = Util::modulePathOf(OpenSSL_version(OPENSSL_VERSION));
    facts.cryptoFileVersion = Util::fileVersion(facts.cryptoPath);
    return sslVersionLine(facts);
}

} // namespace Velquor::WebServices::Internal
