// The threads of the messages between processes wait by a dispatcher of the library's own: it loses nothing, and it sleeps.

#include "TestKit/Test.h"
#include "VqUtil/Platform/LeanDispatcher.h"
#include "VqUtil/Platform/Windows/WindowsHandle.h"

#include <array>

using namespace Velquor::Util;

class WindowsDispatcherTest : public QObject {
    Q_OBJECT

private slots:
    // Each posts the next event as soon as its last one was received: just when the thread is about to fall asleep.
    void everyPostedEventArrives() {
        const Velquor::TestKit::Rows row([](int posters, ThreadServes serves) {
            constexpr int count = 5000;
            QObject receiver;
            std::atomic<int> arrived{0};
            std::array<QSemaphore, 3> receivedOf;
            const auto post = [&](int poster) {
                QSemaphore& received = receivedOf.at(poster);
                for (int number = 0; number < count; ++number) {
                    QMetaObject::invokeMethod(
                        &receiver, [&received] { received.release(); }, Qt::QueuedConnection);
                    if (!received.tryAcquire(1, 2000))
                        break;
                    ++arrived;
                }
            };
            QThread thread;
            useLeanDispatcher(thread, serves);
            receiver.moveToThread(&thread);
            thread.start();
            std::vector<std::thread> threads;
            for (int poster = 0; poster < posters; ++poster)
                threads.emplace_back(post, poster);
            for (std::thread& one : threads)
                one.join();
            thread.quit();
            thread.wait();
            QCOMPARE(arrived.load(), posters * count);
        });
        row("posts and timers", 1, ThreadServes::PostsAndTimers);
        row("posts and timers, three posters", 3, ThreadServes::PostsAndTimers);
        row("local sockets too", 1, ThreadServes::LocalSocketsToo);
        row("local sockets too, three posters", 3, ThreadServes::LocalSocketsToo);
    }

    void timersFireInTheirOrder() {
        withBothKinds([&](ThreadServes serves) {
            QStringList fired;
            bool isEarly = false;
            int remaining = -1;
            QVERIFY(runs(
                [&] {
                    const Velquor::TestKit::Stopwatch since;
                    for (const int ms : {60, 20, 40, 0}) {
                        auto* const timer = new QTimer;
                        timer->setSingleShot(true);
                        connect(timer, &QTimer::timeout, timer, [&fired, &isEarly, since, ms, timer] {
                            fired += QString::number(ms);
                            isEarly = isEarly || since.nsecsElapsed() < ms * 1000000LL;
                            timer->deleteLater();
                            if (ms == 60)
                                leave();
                        });
                        timer->start(ms);
                        remaining = ms == 60 ? timer->remainingTime() : remaining;
                    }
                },
                serves));
            QCOMPARE(fired.join(QLatin1Char(' ')), QStringLiteral("0 20 40 60"));
            QVERIFY(!isEarly);
            QVERIFY(remaining > 30 && remaining <= 60);
        });
    }

    void timersMayChangeWhileTheyFire() {
        int repeated = 0;
        int restarted = 0;
        int ended = 0;
        int afterItsEnd = 0;
        QVERIFY(runs([&] {
            auto* const repeating = new QTimer;
            connect(repeating, &QTimer::timeout, repeating, [&repeated, repeating] {
                if (++repeated == 3)
                    repeating->stop();
            });
            repeating->start(5);
            auto* const again = new QTimer;
            again->setSingleShot(true);
            connect(again, &QTimer::timeout, again, [&restarted, again] {
                if (++restarted < 3)
                    again->start(5);
            });
            again->start(5);
            // Two that are due together: the first ends the second, and itself.
            auto* const first = new QTimer;
            auto* const second = new QTimer;
            connect(first, &QTimer::timeout, QThread::currentThread()->eventDispatcher(), [&ended, first, second] {
                ++ended;
                delete second;
                delete first;
            });
            connect(second, &QTimer::timeout, QThread::currentThread()->eventDispatcher(), [&afterItsEnd] { ++afterItsEnd; });
            first->start(5);
            second->start(5);
            QTimer::singleShot(200, repeating, [repeating, again] {
                repeating->deleteLater();
                again->deleteLater();
                leave();
            });
        }));
        QCOMPARE(repeated, 3);
        QCOMPARE(restarted, 3);
        QCOMPARE(ended, 1);
        QCOMPARE(afterItsEnd, 0);
    }

    // A receiver that runs an event loop is not called again inside of it; others are.
    void aTimerWaitsForItsReceiver() {
        int depth = 0;
        int deepest = 0;
        int others = 0;
        QVERIFY(runs([&] {
            auto* const slow = new QTimer;
            auto* const other = new QTimer;
            connect(other, &QTimer::timeout, other, [&others] { ++others; });
            connect(slow, &QTimer::timeout, slow, [&, slow, other] {
                deepest = std::max(deepest, ++depth);
                QEventLoop loop;
                QTimer::singleShot(100, &loop, &QEventLoop::quit);
                loop.exec();
                --depth;
                slow->deleteLater();
                other->deleteLater();
                leave();
            });
            slow->start(10);
            other->start(10);
        }));
        QCOMPARE(deepest, 1);
        QVERIFY(others >= 3);
    }

    void eventNotifiersFireUntilTheyAreDisabled() {
        const WindowsHandle event(::CreateEventW(nullptr, FALSE, FALSE, nullptr));
        const WindowsHandle ignored(::CreateEventW(nullptr, TRUE, TRUE, nullptr));
        int activated = 0;
        int wrong = 0;
        std::thread setter;
        QVERIFY(runs([&] {
            auto* const notifier = new QWinEventNotifier(event.get());
            auto* const disabled = new QWinEventNotifier(ignored.get());
            disabled->setEnabled(false);
            connect(disabled, &QWinEventNotifier::activated, disabled, [&wrong] { ++wrong; });
            connect(notifier, &QWinEventNotifier::activated, notifier, [&, notifier, disabled] {
                if (++activated < 50) {
                    ::SetEvent(event.get());
                    return;
                }
                notifier->deleteLater();
                disabled->deleteLater();
                leave();
            });
            setter = std::thread([&event] {
                QThread::msleep(50);
                ::SetEvent(event.get());
            });
        }));
        setter.join();
        QCOMPARE(activated, 50);
        QCOMPARE(wrong, 0);
    }

    void sleepsUntilSomethingComes() {
        withBothKinds([&](ThreadServes serves) {
            int slept = 0;
            QElapsedTimer since;
            QThread thread;
            useLeanDispatcher(thread, serves);
            QObject context;
            context.moveToThread(&thread);
            connect(&thread, &QThread::started, &context, [&] {
                connect(QThread::currentThread()->eventDispatcher(), &QAbstractEventDispatcher::aboutToBlock, &context,
                        [&slept] { ++slept; });
                auto* const timer = new QTimer;
                connect(QThread::currentThread(), &QThread::finished, timer, &QObject::deleteLater);
                timer->start(60000);
            });
            thread.start();
            QThread::msleep(500);
            since.start();
            thread.quit();
            QVERIFY(thread.wait(10000));
            QVERIFY2(since.elapsed() < 1000, "who ends it is not heard");
            QVERIFY2(slept >= 1 && slept <= 3, qPrintable(QStringLiteral("it fell asleep %1 times").arg(slept)));
        });
    }

    // Another thread ends the loop just when it has looked whether it is ended.
    void anEndThatComesBeforeTheWait() {
        withBothKinds([&](ThreadServes serves) {
            QVERIFY(runs(
                [] {
                    QAbstractEventDispatcher* const dispatcher = QThread::currentThread()->eventDispatcher();
                    dispatcher->processEvents(QEventLoop::AllEvents);
                    dispatcher->interrupt();
                    dispatcher->processEvents(QEventLoop::WaitForMoreEvents);
                    leave();
                },
                serves));
        });
    }

private:
    template <class Judge>
    static void withBothKinds(const Judge& judge) {
        const Velquor::TestKit::Rows row([&judge](ThreadServes serves) { judge(serves); });
        row("posts and timers", ThreadServes::PostsAndTimers);
        row("local sockets too", ThreadServes::LocalSocketsToo);
    }

    // Calls `body` from the event loop of such a thread; true when the loop has been left within 20 s.
    [[nodiscard]] static bool runs(const std::function<void()>& body, ThreadServes serves = ThreadServes::LocalSocketsToo) {
        QThread thread;
        useLeanDispatcher(thread, serves);
        QObject context;
        context.moveToThread(&thread);
        connect(&thread, &QThread::started, &context, body, Qt::QueuedConnection);
        thread.start();
        const bool hasEnded = thread.wait(20000);
        thread.quit();
        thread.wait();
        return hasEnded;
    }
    static void leave() { QThread::currentThread()->quit(); }
};

QTEST_GUILESS_MAIN(WindowsDispatcherTest)
#include "WindowsDispatcherTest.moc"
