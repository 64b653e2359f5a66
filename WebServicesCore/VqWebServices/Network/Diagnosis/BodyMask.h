#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::WebServices::Internal {

/// A request or reply body for the log, on one line. Forms, JSON and well-formed XML keep their names, and the values
/// on the allow-list; of everything else only the type and the length are told, since a secret could stand anywhere in
/// it. Thread: any. Errors: a body that cannot be understood is told by its length.
[[nodiscard]] QString maskedBody(const QByteArray& body, const QString& contentType);

} // namespace Velquor::WebServices::Internal
