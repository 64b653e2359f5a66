#include "Network/NetworkThreads.h"

#include "Network/NetworkOperationThread.h"

#include <QDateTime>
#include <QMutexLocker>
#include <algorithm>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

constexpr std::size_t mostKept = 8;

bool isFresh(qint64 sinceMs, int longestIdleMs) {
    const qint64 age = QDateTime::currentMSecsSinceEpoch() - sinceMs;
    return age >= 0 && age < longestIdleMs;
}

} // namespace

NetworkThreads::Peer::Peer(const QNetworkRequest& request)
    : scheme(request.url().scheme())
    , authority(request.url().authority())
    , trust(request.sslConfiguration()) {}

bool NetworkThreads::Peer::operator==(const Peer& other) const {
    return scheme == other.scheme && authority == other.authority && trust == other.trust;
}

NetworkThreads& NetworkThreads::instance() {
    // Never destroyed: a forked child has the object, but not its threads.
    static auto* const singleton = new NetworkThreads;
    return *singleton;
}

void NetworkThreads::open(int longestIdleMs) {
    const QMutexLocker lock(&m_mutex);
    m_isOpen = true;
    m_longestIdleMs = longestIdleMs;
}

void NetworkThreads::close() {
    std::vector<std::unique_ptr<NetworkOperationThread>> ending;
    {
        const QMutexLocker lock(&m_mutex);
        m_isOpen = false;
        while (!m_kept.empty())
            end(m_kept.begin());
        std::swap(ending, m_ending);
    }
    // Without the lock, which a thread takes when its time is over.
    for (const auto& thread : ending)
        thread->wait();
}

std::unique_ptr<NetworkOperationThread> NetworkThreads::take(const QNetworkRequest& request) {
    std::unique_ptr<NetworkOperationThread> kept = takeKept(Peer(request));
    return kept ? std::move(kept) : make();
}

std::unique_ptr<NetworkOperationThread> NetworkThreads::make() {
    auto thread = std::make_unique<NetworkOperationThread>();
    KeptManager* const kept = &thread->kept();
    QObject::connect(kept, &KeptManager::IdleTooLong, kept, [this, raw = thread.get()] { endIdle(raw); });
    return thread;
}

std::unique_ptr<NetworkOperationThread> NetworkThreads::takeKept(const Peer& peer) {
    const QMutexLocker lock(&m_mutex);
    removeEnded();
    while (!m_kept.empty() && !isFresh(m_kept.front().sinceMs, m_longestIdleMs))
        end(m_kept.begin());
    const auto found = std::find_if(m_kept.rbegin(), m_kept.rend(), [&peer](const Entry& entry) { return entry.peer == peer; });
    if (found == m_kept.rend())
        return nullptr;
    std::unique_ptr<NetworkOperationThread> thread = std::move(found->thread);
    m_kept.erase(std::next(found).base());
    return thread;
}

void NetworkThreads::keep(std::unique_ptr<NetworkOperationThread> thread, const QNetworkRequest& request) {
    KeptManager* const manager = &thread->kept();
    const QMutexLocker lock(&m_mutex);
    removeEnded();
    m_kept.push_back({Peer(request), QDateTime::currentMSecsSinceEpoch(), std::move(thread)});
    if (!m_isOpen) {
        end(std::prev(m_kept.end()));
        return;
    }
    if (m_kept.size() > mostKept)
        end(m_kept.begin());
    QMetaObject::invokeMethod(
        manager, [manager, idleMs = m_longestIdleMs] { manager->startIdleTime(idleMs); }, Qt::QueuedConnection);
}

void NetworkThreads::endIdle(const NetworkOperationThread* thread) {
    const QMutexLocker lock(&m_mutex);
    const auto found =
        std::find_if(m_kept.begin(), m_kept.end(), [thread](const Entry& entry) { return entry.thread.get() == thread; });
    // An operation may have taken it at the same moment.
    if (found != m_kept.end())
        end(found);
}

void NetworkThreads::end(Entries::iterator entry) {
    entry->thread->quit();
    m_ending.push_back(std::move(entry->thread));
    m_kept.erase(entry);
}

void NetworkThreads::removeEnded() {
    m_ending.erase(std::remove_if(m_ending.begin(), m_ending.end(), [](const auto& thread) { return thread->isFinished(); }),
                   m_ending.end());
}

} // namespace Velquor::WebServices::Internal
