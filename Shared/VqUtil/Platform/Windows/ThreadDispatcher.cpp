#include "VqUtil/Platform/Windows/ThreadDispatcher.h"

#include <QCoreApplication>
#include <QThread>

namespace Velquor::Util {

bool ThreadDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags) {
    emit awake();
    // Before the look, so that what is posted after it ends the wait.
    m_isWoken = false;
    QCoreApplication::sendPostedEvents();
    const bool hasFired = m_timers.fire();
    // Also one from before this call: who ends an event loop that is just about to wait says so once.
    if (m_isInterrupted.exchange(false))
        return true;
    const bool mayWait = flags.testFlag(QEventLoop::WaitForMoreEvents) && !hasFired;
    if (mayWait)
        emit aboutToBlock();
    m_isWaiting = true;
    // Who wakes it and does not see that it waits has set the mark before it is looked at here.
    const bool hasCome = wait(mayWait && !m_isWoken ? m_timers.msUntilNext() : 0);
    m_isWaiting = false;
    return hasFired || hasCome;
}

// The call to the system is left out for a thread that will look anyway: one that does not wait, or that was called back in its
// wait, which ends then.
void ThreadDispatcher::wakeUp() {
    if (!m_isWoken.exchange(true) && m_isWaiting && QThread::currentThread() != thread())
        endWait();
}

void ThreadDispatcher::interrupt() {
    m_isInterrupted = true;
    wakeUp();
}

void ThreadDispatcher::registerTimer(int id, int intervalMs, Qt::TimerType type, QObject* receiver) {
    m_timers.add({id, intervalMs, type}, receiver);
}

bool ThreadDispatcher::registerEventNotifier(QWinEventNotifier*) {
    qWarning("This thread does not serve event notifiers");
    return false;
}

void ThreadDispatcher::registerSocketNotifier(QSocketNotifier*) {
    qWarning("This thread does not serve network sockets");
}

} // namespace Velquor::Util
