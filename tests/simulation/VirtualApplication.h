#pragma once

#include "simulation/VirtualDispatcher.h"

#include <QCoreApplication>

namespace Velquor::Simulation {

/// The application object of a test that simulates: it lets the threads change before each posted call, not only between the
/// emptyings of a thread's queue.
///
/// Thread: any delivers its events here. Owner: main.
class VirtualApplication : public QCoreApplication {
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject* receiver, QEvent* event) override {
        auto* const dispatcher =
            event->type() == QEvent::MetaCall ? qobject_cast<VirtualDispatcher*>(QAbstractEventDispatcher::instance()) : nullptr;
        const bool isPosted = dispatcher && dispatcher->beginCall();
        const bool isTaken = QCoreApplication::notify(receiver, event);
        if (isPosted)
            dispatcher->endCall();
        return isTaken;
    }
};

} // namespace Velquor::Simulation
