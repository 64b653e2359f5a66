#pragma once

#include "Network/Diagnosis/ClockDiagnosis.h"

#include <QNetworkReply>

namespace Velquor::WebServices {

/// Why an update of a cache has failed, as far as that decides what becomes of it. A plain value.
struct CacheFailure {
    int httpStatus = 0; ///< 0: no reply was received.
    QNetworkReply::NetworkError networkError = QNetworkReply::NoError;
    bool isReplyDamaged = false; ///< Status 200, but the body was cut, too large, or not what was asked for.
    Internal::ClockKind clockKind = Internal::ClockKind::None;
};

} // namespace Velquor::WebServices
