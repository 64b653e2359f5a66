#include "Network/Diagnosis/SslErrorText.h"

#include <QCryptographicHash>

namespace Velquor::WebServices::Internal {
namespace {

const QStringList& errorNames() {
    static const QStringList names{
        QStringLiteral("NoError"),
        QStringLiteral("UnableToGetIssuerCertificate"),
        QStringLiteral("UnableToDecryptCertificateSignature"),
        QStringLiteral("UnableToDecodeIssuerPublicKey"),
        QStringLiteral("CertificateSignatureFailed"),
        QStringLiteral("CertificateNotYetValid"),
        QStringLiteral("CertificateExpired"),
        QStringLiteral("InvalidNotBeforeField"),
        QStringLiteral("InvalidNotAfterField"),
        QStringLiteral("SelfSignedCertificate"),
        QStringLiteral("SelfSignedCertificateInChain"),
        QStringLiteral("UnableToGetLocalIssuerCertificate"),
        QStringLiteral("UnableToVerifyFirstCertificate"),
        QStringLiteral("CertificateRevoked"),
        QStringLiteral("InvalidCaCertificate"),
        QStringLiteral("PathLengthExceeded"),
        QStringLiteral("InvalidPurpose"),
        QStringLiteral("CertificateUntrusted"),
        QStringLiteral("CertificateRejected"),
        QStringLiteral("SubjectIssuerMismatch"),
        QStringLiteral("AuthorityIssuerSerialNumberMismatch"),
        QStringLiteral("NoPeerCertificate"),
        QStringLiteral("HostNameMismatch"),
        QStringLiteral("NoSslSupport"),
        QStringLiteral("CertificateBlacklisted"),
    };
    return names;
}

QString yesOrNo(bool value) {
    return value ? QStringLiteral("Yes") : QStringLiteral("No");
}

} // namespace

QString sslErrorName(int code) {
    if (code == -1)
        return QStringLiteral("UnspecifiedError");
    return errorNames().value(code, QStringLiteral("Unknown"));
}

QStringList certificateDescription(const QSslCertificate& certificate) {
    const QByteArray thumbprint = certificate.digest(QCryptographicHash::Sha1).toHex();
    return {certificate.toText(), QStringLiteral("Thumbprint (Sha1): %1").arg(QString::fromLatin1(thumbprint)),
            QStringLiteral("Blacklisted: %1").arg(yesOrNo(certificate.isBlacklisted())),
            QStringLiteral("Self signed: %1").arg(yesOrNo(certificate.isSelfSigned()))};
}

} // namespace Velquor::WebServices::Internal
