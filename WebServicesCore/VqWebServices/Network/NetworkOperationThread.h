#pragma once

#include "Network/KeptManager.h"

#include <QThread>

namespace Velquor::WebServices::Internal {

/// The worker thread of one asynchronous network operation at a time; it only runs its event loop.
///
/// Owner: the NetworkOperationAsync, between two of them NetworkThreads; the owner joins it before it goes. Errors: none.
class NetworkOperationThread final : public QThread {
    Q_OBJECT

public:
    NetworkOperationThread() { m_kept.moveToThread(this); }

    [[nodiscard]] KeptManager& kept() { return m_kept; }

protected:
    void run() override {
        exec();
        m_kept.destroy();
    }

private:
    KeptManager m_kept;
};

} // namespace Velquor::WebServices::Internal
