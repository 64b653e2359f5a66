#pragma once

#include <QObject>

namespace Velquor::WebServices::Internal {

/// Lets an owner cancel network operations from outside: every operation that was given the controller ends as
/// cancelled when `Canceled()` is emitted.
///
/// Thread: the signal may be emitted on any thread. Owner: shared by the one who cancels and the operations. Errors:
/// none.
class ICancelController : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

Q_SIGNALS:
    void Canceled();
};

} // namespace Velquor::WebServices::Internal
