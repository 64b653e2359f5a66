#pragma once

#include <QObject>

namespace Velquor::WebServices::Internal {

/// Cancels network operations from outside: every operation with this controller ends as cancelled when `Canceled()` is emitted.
///
/// Thread: the signal may be emitted on any. Owner: shared by the caller that cancels and the operations. Errors: none.
class ICancelController : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    void Canceled();
};

} // namespace Velquor::WebServices::Internal
