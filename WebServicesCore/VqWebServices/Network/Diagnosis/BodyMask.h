#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::WebServices::Internal {

/// A request or reply body for the log, on one line. Forms, JSON and well-formed XML keep their names, and the values on the
/// allow-list. Every other body is shown by type and length only, since it could contain a secret anywhere. Thread: any.
[[nodiscard]] QString maskedBody(const QByteArray& body, const QString& contentType);

} // namespace Velquor::WebServices::Internal
