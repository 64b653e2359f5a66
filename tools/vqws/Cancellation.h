#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>
#include <optional>

namespace Vqws {

/// Ctrl-C, the request of the system to end, and `--timeout`: whichever comes first ends what the command waits for.
///
/// Thread: lives on the main thread, where `cancelled` is emitted once, from the event loop; isRequested() from any. Owner:
/// main(), one for the process. A second Ctrl-C ends the process at once, as without this.
class Cancellation final : public QObject {
    Q_OBJECT

public:
    explicit Cancellation(std::optional<int> timeoutSeconds);

    /// For a command that has a limit of its own when none was given.
    void setDefaultTimeout(int seconds);

    [[nodiscard]] bool isRequested() const;
    [[nodiscard]] bool isTimeout() const;
    /// "cancelled" or "timed out after 5 s".
    [[nodiscard]] QString reason() const;

    /// Handles events for a while, or until it is requested; true when the time has passed.
    [[nodiscard]] bool wait(int milliseconds);

Q_SIGNALS:
    void cancelled();

private:
    void look();

    std::optional<int> m_seconds;
    QDeadlineTimer m_deadline{QDeadlineTimer::Forever};
    QTimer m_timer;
    bool m_isTold = false;
};

} // namespace Vqws
