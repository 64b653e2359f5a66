#pragma once

#include <QThread>

namespace Velquor::WebServices::Internal {

/// The worker thread of one asynchronous network operation; it only runs its event loop.
///
/// Owner: the NetworkOperationAsync, which joins it before it goes. Errors: none.
class NetworkOperationThread final : public QThread {
    Q_OBJECT

public:
    using QThread::QThread;

protected:
    void run() override { exec(); }
};

} // namespace Velquor::WebServices::Internal
