#pragma once

#include <QObject>
#include <QTimer>
#include <memory>

namespace Velquor::WebServices::Internal {

class NetworkAccessManager;

/// What a worker thread keeps from one exchange to the next: the network manager with its open connection.
///
/// Thread: its worker's; it is made before that thread starts. Owner: the worker thread. Errors: none.
class KeptManager final : public QObject {
    Q_OBJECT

public:
    KeptManager();
    ~KeptManager() override;
    Q_DISABLE_COPY_MOVE(KeptManager)

    /// Null when none is kept.
    [[nodiscard]] std::unique_ptr<NetworkAccessManager> take();
    void put(std::unique_ptr<NetworkAccessManager> manager);
    void destroy();

    /// The time without an exchange begins.
    void startIdleTime(int longestMs) { m_idle.start(longestMs); }

Q_SIGNALS:
    void IdleTooLong();

private:
    QTimer m_idle;
    std::unique_ptr<NetworkAccessManager> m_manager;
};

} // namespace Velquor::WebServices::Internal
