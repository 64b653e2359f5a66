#pragma once

#include <QSslCertificate>
#include <QString>
#include <QStringList>

namespace Velquor::WebServices::Internal {

/// The name of an SSL error code (the numbers of QSslError::SslError); "Unknown" for a code without one. Thread: any.
[[nodiscard]] QString sslErrorName(int code);

/// A certificate for the log: its text form, its thumbprint and the framework's verdict. Thread: any.
[[nodiscard]] QStringList certificateDescription(const QSslCertificate& certificate);

} // namespace Velquor::WebServices::Internal
