#pragma once

#include <QDeadlineTimer>
#include <QObject>
#include <QTimer>
#include <optional>

namespace Vqws {

/// Ends the wait of a command at the first of these: Ctrl-C, a request of the system to end, or `--timeout`.
///
/// Thread: the main thread, which emits `cancelled` once, from the event loop; isRequested() from any. Owner: main(), one for
/// the process. A second Ctrl-C ends the process at once, as it would without this class.
class Cancellation final : public QObject {
    Q_OBJECT

public:
    explicit Cancellation(std::optional<int> timeoutSeconds);

    /// For a command with its own default limit; has no effect when a limit was given.
    void setDefaultTimeout(int seconds);

    [[nodiscard]] bool isRequested() const;
    [[nodiscard]] bool isTimeout() const;
    /// "cancelled" or "timed out after 5 s".
    [[nodiscard]] QString reason() const;

    /// Handles events for this time, or until cancellation is requested. True when the time has passed.
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
