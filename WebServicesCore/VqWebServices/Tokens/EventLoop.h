#pragma once

#include <QEventLoop>

namespace Velquor::WebServices::Internal {

/// A local event loop that a caller spins until a token operation ends; its exit code is the result of the operation.
///
/// Thread: that of the waiting caller; Quit may be posted from any. Owner: the caller's stack.
class EventLoop : public QEventLoop {
    Q_OBJECT

public:
    /// 0 until `Quit` has run.
    [[nodiscard]] int code() const { return m_code; }
    [[nodiscard]] bool hasQuit() const { return m_hasQuit; }

public slots:
    void Quit(int code) {
        m_code = code;
        m_hasQuit = true;
        quit();
    }

private:
    int m_code = 0;
    bool m_hasQuit = false;
};

} // namespace Velquor::WebServices::Internal
