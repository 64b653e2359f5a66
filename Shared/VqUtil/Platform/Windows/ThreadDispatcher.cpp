#include "VqUtil/Platform/Windows/ThreadDispatcher.h"

#include <QCoreApplication>
#include <QThread>

namespace Velquor::Util {

bool ThreadDispatcher::processEvents(QEventLoop::ProcessEventsFlags flags) {
    emit awake();
    // Cleared before the delivery: an event posted during or after it sets the flag again and ends the wait.
    m_isWoken = false;
    QCoreApplication::sendPostedEvents();
    const bool hasFired = m_timers.fire();
    // An interrupt from before this call counts too. Qt interrupts a loop once, possibly just before the loop waits.
    if (m_isInterrupted.exchange(false))
        return true;
    const bool mayWait = flags.testFlag(QEventLoop::WaitForMoreEvents) && !hasFired;
    if (mayWait)
        emit aboutToBlock();
    m_isWaiting = true;
    // `wakeUp` sets the flag before it reads `m_isWaiting`, and this sets `m_isWaiting` before it reads the flag. So one of the
    // two sees the other, and no wake-up is lost.
    const bool hasCome = wait(mayWait && !m_isWoken ? m_timers.msUntilNext() : 0);
    m_isWaiting = false;
    return hasFired || hasCome;
}

// Skips the system call for a thread that checks the flag anyway: one that is not waiting, or the thread itself, called back
// during its wait, which then ends.
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
