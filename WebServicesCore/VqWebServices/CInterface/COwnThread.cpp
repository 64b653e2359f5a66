#include "CInterface/COwnThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QThread>
#include <thread>
#include <utility>

namespace Velquor::WebServices::Internal {

COwnThread& COwnThread::instance() {
    static auto* const thread = new COwnThread;
    return *thread;
}

bool COwnThread::isCurrent() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_id && m_id == QThread::currentThreadId();
}

bool COwnThread::isHostsTurn() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return QCoreApplication::instance() && QCoreApplication::instance() != m_ownApplication;
}

bool COwnThread::start(std::function<bool()> start) {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_start = std::move(start);
    m_hasAnswer = false;
    if (!std::exchange(m_isStarted, true))
        std::thread([this] { run(); }).detach();
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return m_hasAnswer; });
    return m_answer;
}

void COwnThread::run() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_id = QThread::currentThreadId();
    }
    for (;;) {
        std::function<bool()> start;
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_start != nullptr; });
            start = std::exchange(m_start, nullptr);
        }
        const bool hadApplication = QCoreApplication::instance();
        const bool isStarted = start();
        if (!hadApplication) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_ownApplication = QCoreApplication::instance();
        }
        if (isStarted)
            serve();
        else
            answer(false);
    }
}

void COwnThread::answer(bool isStarted) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_answer = isStarted;
    m_hasAnswer = true;
    m_changed.notify_all();
}

void COwnThread::serve() {
    QObject context;
    QEventLoop loop;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_context = &context;
        m_loop = &loop;
    }
    answer(true);
    loop.exec();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_context = nullptr;
    m_loop = nullptr;
    m_changed.notify_all();
}

void COwnThread::stop(const std::function<void()>& work) {
    if (isCurrent()) {
        work();
        return m_loop->quit();
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_context)
        return;
    QMetaObject::invokeMethod(
        m_context,
        [this, &work] {
            work();
            m_loop->quit();
        },
        Qt::QueuedConnection);
    m_changed.wait(lock, [this] { return m_context == nullptr; });
}

} // namespace Velquor::WebServices::Internal
