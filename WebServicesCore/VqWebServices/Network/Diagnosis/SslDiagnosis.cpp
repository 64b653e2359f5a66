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
    facts.sslPath = Util::modulePathOf(reinterpret_cast<const void*>(&SSL_CTX_new));
    facts.sslFileVersion = Util::fileVersion(facts.sslPath);
    facts.cryptoPath = Util::modulePathOf(reinterpret_cast<const void*>(&OpenSSL_version_num));
    facts.cryptoFileVersion = Util::fileVersion(facts.cryptoPath);
    return sslVersionLine(facts);
}

} // namespace Velquor::WebServices::Internal
