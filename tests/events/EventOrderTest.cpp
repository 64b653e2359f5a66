// Two carriers, one of them faster: the events of a sender are handled in their order, and none waits for long.

#include "Events/EventIdentity.h"
#include "Events/INotificationListener.h"
#include "Events/ReorderBuffer.h"
#include "TestKit/Test.h"

using namespace Velquor::WebServices;
using namespace Velquor::WebServices::Internal;

namespace {

ArrivedEvent arrived(const QString& id, IPCMethod method) {
    return {WebServicesPrivateCore::WebServicesEvent::TokenRefreshed, {{EventParam::eventId, id}}, method};
}

} // namespace

class EventOrderTest : public QObject {
    Q_OBJECT

private slots:
    // s: by socket, w: by file, d: once more by socket, t: all but a moment of the time to wait passes, u: a moment passes.
    void eventsAreHandledInTheOrderOfTheirSender() {
        const Velquor::TestKit::Rows row([](const QString& arriving, const QString& handled) {
            ReorderBuffer order;
            QVector<ArrivedEvent> ready;
            qint64 now = 1000;
            for (const QString& step : arriving.split(QLatin1Char(' '))) {
                const QString id = EventIdentity{"sender", step.mid(1).toULongLong()}.eventId();
                if (step == QLatin1String("t") || step == QLatin1String("u"))
                    ready += order.takeOverdue(now += step == QLatin1String("t") ? ReorderBuffer::holdMs - 1 : 1);
                else if (step.startsWith(QLatin1Char('d')))
                    ready += order.reachedBySocket(id, now);
                else
                    ready +=
                        order.take(arrived(id, step.startsWith(QLatin1Char('s')) ? IPCMethod::Socket : IPCMethod::Watcher), now);
            }
            QStringList numbers;
            for (const ArrivedEvent& one : ready)
                numbers += one.params.value(EventParam::eventId).toString().section(QLatin1Char('#'), 1);
            QCOMPARE(numbers.join(QLatin1Char(' ')), handled);
        });
        row("by socket alone", "s1 s2 s3", "1 2 3");
        row("by file alone", "w1 w2 w3", "1 2 3");
        row("the file is ahead", "s1 w3 s2", "1 2 3");
        row("the file is far ahead", "s1 w3 w5 w4 s2", "1 2 3 4 5");
        row("the file is ahead of the first", "w2 s1", "1 2");
        row("ahead, and nothing more comes", "s1 w3 t", "1");
        row("ahead, and time passes", "s1 w3 w6 u t", "1 3 6");
        row("time is counted for each", "s1 w3 u w5 t", "1 3");
        row("the socket is late, and still comes", "w5 u s1 t s2 s3 s4", "1 2 3 4 5");
        row("late, then silent", "w5 u s1 t u", "1 5");
        row("the socket shows that nothing is missing", "w5 d5", "5");
        row("the socket goes on", "s1 w3 w4 s5", "1 3 4 5");
        row("the file goes on after a gap", "s1 w3 u t w4", "1 3 4");
        row("late is better than never", "s1 s5 w4", "1 5 4");
    }

    void sendersDoNotWaitForEachOther() {
        ReorderBuffer order;
        QVERIFY(order.take(arrived("a#2", IPCMethod::Watcher), 0).isEmpty());
        QCOMPARE(order.take(arrived("b#1", IPCMethod::Watcher), 0).size(), 1);
        QCOMPARE(order.msUntilDue(0), ReorderBuffer::holdMs);
        // The socket is busy with another one for as long as it likes; not so the one that waits.
        for (int ms = 0; ms < ReorderBuffer::longestHoldMs; ms += 1000) {
            QVERIFY(order.takeOverdue(ms).isEmpty());
            QCOMPARE(order.take(arrived(QStringLiteral("b#%1").arg(ms + 2), IPCMethod::Socket), ms).size(), 1);
        }
        QCOMPARE(order.takeOverdue(ReorderBuffer::longestHoldMs).size(), 1);
        // One that does not count its events passes.
        QCOMPARE(order.take(arrived("a", IPCMethod::Watcher), 0).size(), 1);
        QCOMPARE(order.take(arrived("a#none", IPCMethod::Watcher), 0).size(), 1);
    }

    // Memory does not grow with senders that come and go, and their events that wait are not forgotten.
    void memoryIsBoundedWithManySenders() {
        ReorderBuffer order;
        QVERIFY(order.take(arrived("a#2", IPCMethod::Watcher), 0).isEmpty());
        for (int sender = 0; sender < 3 * ReorderBuffer::mostSources; ++sender)
            QCOMPARE(order.take(arrived(EventIdentity{QString::number(sender), 1}.eventId(), IPCMethod::Socket), 0).size(), 1);
        QCOMPARE(order.takeOverdue(ReorderBuffer::holdMs).size(), 1);
        QCOMPARE(order.msUntilDue(0), -1);
    }

    // s: by socket, w: by file. A duplicate is not handled, and the carrier that brought the event first is known.
    void anEventOfBothCarriersIsHandledOnce() {
        const Velquor::TestKit::Rows row([](const QString& arriving, const QString& handled) {
            DuplicateFilter events;
            QHash<QString, IPCMethod> brought;
            QStringList fresh;
            for (const QString& step : arriving.split(QLatin1Char(' '))) {
                const IPCMethod method = step.startsWith(QLatin1Char('s')) ? IPCMethod::Socket : IPCMethod::Watcher;
                const std::optional<IPCMethod> first = events.add(step.mid(1), method);
                if (!first) {
                    fresh += step;
                    brought.insert(step.mid(1), method);
                }
                QCOMPARE(first.value_or(method), brought.value(step.mid(1)));
            }
            QCOMPARE(fresh.join(QLatin1Char(' ')), handled);
        });
        row("both carriers", "sa#1 wa#1 sa#2 wa#2", "sa#1 sa#2");
        row("one of them is ahead", "wa#3 sa#1 sa#2 sa#3 wa#1", "wa#3 sa#1 sa#2");
        row("ranges that meet", "sa#1 sa#3 sa#2 wa#2 wa#3 wa#4", "sa#1 sa#3 sa#2 wa#4");
        row("two senders", "sa#1 sb#1 wb#1 wa#1", "sa#1 sb#1");
        row("ids without a number", "sa wa sa#none wa#other wa#0 wa#0", "sa sa#none wa#other wa#0");
        row("the highest number", "sa#18446744073709551615 wa#18446744073709551615 wa#1", "sa#18446744073709551615 wa#1");
        row("without an id", "s s", "s s");
    }

    // The file may be far behind the socket, while others come and go.
    void aLateDuplicateIsRecognised() {
        constexpr int count = 20000;
        DuplicateFilter events;
        const auto isNew = [&](int number, IPCMethod method) {
            return !events.add(EventIdentity{"a", quint64(number)}.eventId(), method);
        };
        // Each third is heard by file first, which makes more ranges than are kept.
        for (int number = 1; number <= count; ++number) {
            QVERIFY(isNew(number, number % 3 == 0 ? IPCMethod::Watcher : IPCMethod::Socket));
            (void)events.add(QString::number(number % DuplicateFilter::mostSources), IPCMethod::Socket);
        }
        for (int number = 1; number <= count; ++number)
            QVERIFY(!isNew(number, IPCMethod::Watcher));
        QVERIFY(isNew(count + 2, IPCMethod::Socket));
        QVERIFY2(isNew(count + 1, IPCMethod::Watcher), "what was missed is heard late");
    }
};

QTEST_GUILESS_MAIN(EventOrderTest)
#include "EventOrderTest.moc"
