#pragma once

#include <QString>

class QNetworkRequest;

namespace Velquor::WebServices::Internal {

/// Why a request must not be sent (its URL is not a valid http or https URL, or verb or headers would break out of
/// their line); empty when it may. Thread: any.
[[nodiscard]] QString requestProblem(const QNetworkRequest& request, const QString& verb);

} // namespace Velquor::WebServices::Internal
