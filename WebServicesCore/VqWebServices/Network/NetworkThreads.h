#pragma once

#include <QMutex>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <memory>
#include <vector>

namespace Velquor::WebServices::Internal {

class NetworkOperationThread;

/// The worker threads that no operation uses: each is kept for a while with an open connection, so that the next request to the
/// same server needs no new one.
///
/// Thread: any. Owner: the process, never destroyed. Errors: none.
class NetworkThreads {
public:
    /// Servers close idle connections after some time, and a machine may lose its network without a word. So a connection that
    /// was not used for longer is not worth the risk of a request that nobody answers.
    static constexpr int defaultIdleMs = 20000;

    static NetworkThreads& instance();

    /// Threads are kept between these two, each for that time without a request. `close` returns when they have ended.
    void open(int longestIdleMs = defaultIdleMs);
    void close();

    /// A running thread with a connection that this request may use, otherwise a new thread as of `make`.
    [[nodiscard]] std::unique_ptr<NetworkOperationThread> take(const QNetworkRequest& request);
    /// A new thread that is not started.
    [[nodiscard]] std::unique_ptr<NetworkOperationThread> make();
    /// Keeps a running thread whose last request was this one; when that is not possible, the thread ends.
    void keep(std::unique_ptr<NetworkOperationThread> thread, const QNetworkRequest& request);

private:
    /// Which requests may use a connection.
    struct Peer {
        QString scheme;
        QString authority;
        QSslConfiguration trust;

        explicit Peer(const QNetworkRequest& request);
        [[nodiscard]] bool operator==(const Peer& other) const;
    };
    struct Entry {
        Peer peer;
        qint64 sinceMs; ///< by the wall clock, which runs on while the machine sleeps
        std::unique_ptr<NetworkOperationThread> thread;
    };
    using Entries = std::vector<Entry>;

    NetworkThreads() = default;

    [[nodiscard]] std::unique_ptr<NetworkOperationThread> takeKept(const Peer& peer);
    void endIdle(const NetworkOperationThread* thread);
    /// Under the mutex.
    void end(Entries::iterator entry);
    void removeEnded();

    QMutex m_mutex;
    bool m_isOpen = false;
    int m_longestIdleMs = defaultIdleMs;
    Entries m_kept; ///< the one used last is the last
    std::vector<std::unique_ptr<NetworkOperationThread>> m_ending;
};

} // namespace Velquor::WebServices::Internal
