#pragma once

#include <QNetworkReply>
#include <QString>

namespace Velquor::WebServices::Internal {

/// The HTTP status code of a reply; 0 when no answer came. Thread: that of the reply.
[[nodiscard]] int httpStatus(const QNetworkReply& reply);

/// The network error of a reply with its text, and the proxy or a hint at a missing connection. URLs are in display form. Empty
/// without a reply. Thread: the reply's.
[[nodiscard]] QString networkErrorText(const QNetworkReply* reply);

/// HTTP status and network error of a reply in one text; empty without a reply. Thread: the reply's.
[[nodiscard]] QString fullErrorText(const QNetworkReply* reply);

/// The error message of an operation whose reply ended with an error. Thread: that of the reply.
[[nodiscard]] QString operationErrorText(const QNetworkReply& reply);

} // namespace Velquor::WebServices::Internal
