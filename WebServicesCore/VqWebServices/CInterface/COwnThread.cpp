#include "CInterface/COwnThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QObject>
#include <QThread>
#include <utility>

namespace Velquor::WebServices::Internal {

namespace {

/// While it lives, Qt's warning does not reach the host's standard error that the application object is not on the thread that
/// used Qt first: here both are of the library. Thread: the library's own. Owner: the stack.
class QuietStart {
public:
    QuietStart() { s_next = qInstallMessageHandler(&QuietStart::pass); }
    ~QuietStart() { qInstallMessageHandler(s_next); }
    QuietStart(const QuietStart&) = delete;
    QuietStart& operator=(const QuietStart&) = delete;

private:
    static void pass(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (!text.contains(QLatin1String("QApplication was not created in the main() thread")))
            s_next(type, context, text);
    }
    inline static QtMessageHandler s_next = nullptr;
};

} // namespace

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
    // Qt gives a thread of its own an event loop of its own. One that Qt does not know would get that of the whole process
    // (GLib's default context) with the application object, and take it away from a host that runs GTK or another Qt.
    if (!m_thread) {
        m_thread = QThread::create([this] { run(); });
        m_thread->start();
    }
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
        const bool isStarted = [&start] {
            const QuietStart quiet;
            return start();
        }();
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
