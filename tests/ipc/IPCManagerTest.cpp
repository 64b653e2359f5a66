#include "TestKit/MessagingTest.h"
#include "VqUtil/Messaging/MessageFrame.h"
#include "VqUtil/Messaging/MessageInbox.h"
#include "VqUtil/Messaging/PeerIdentity.h"

#include <limits>
#include <numeric>

using namespace Velquor;
using Util::IPCManager;
using Util::MessageFrame;

namespace {

QVariantMap nested(int depth) {
    return depth == 1 ? QVariantMap() : QVariantMap{{"Map", nested(depth - 1)}};
}

QVariant nestedList(int depth) {
    return depth == 1 ? QVariantList() : QVariantList{nestedList(depth - 1)};
}

} // namespace

/// Managers of one process with each other.
class IPCManagerTest : public TestKit::MessagingTest {
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void cleanup() { m_parties.clear(); }

    void everyValueArrivesUnchanged() {
        QVERIFY(meet(3));
        const QDateTime moment = QDateTime::fromMSecsSinceEpoch(1700000000123, Qt::UTC);
        const QVariantMap inner{{"Text", QString::fromUtf8("ä€𝄞")}, {QString(), QVariant()}};
        const QVariantMap params{{"Bool", true},
                                 {"Int", -7},
                                 {"UInt", 4000000000u},
                                 {"Long", std::numeric_limits<qint64>::min()},
                                 {"ULong", std::numeric_limits<quint64>::max()},
                                 {"Double", -1.5e300},
                                 {"Half", QString(QChar(0xd800))},
                                 {"Bytes", QByteArray("\0\xff", 2)},
                                 {"Utc", moment},
                                 {"Local", moment.toLocalTime()},
                                 {"Offset", moment.toOffsetFromUtc(-5400)},
                                 {"NoTime", QDateTime()},
                                 {"Texts", QStringList{"a", QString()}},
                                 {"Map", inner},
                                 {"List", QVariantList{1, "a", QVariantList{inner}}},
                                 {"Deep", nested(7)}};
        const QString name = QString::fromUtf8("Größe");
        for (int sender = 0; sender < 2; ++sender) {
            QVERIFY(at(sender).manager.send(name, params));
            for (int receiver = 0; receiver < 3; ++receiver) {
                if (receiver != sender)
                    QTRY_COMPARE_WITH_TIMEOUT(at(receiver).heard.size(), 1, patienceMs);
            }
            QVERIFY(at(sender).heard.isEmpty());
            const auto heard = at(2).heard.first();
            QCOMPARE(heard.first, name);
            QCOMPARE(heard.second, params);
            for (auto param = params.cbegin(); param != params.cend(); ++param)
                QCOMPARE(heard.second.value(param.key()).userType(), param.value().userType());
            QCOMPARE(heard.second.value("Offset").toDateTime().offsetFromUtc(), -5400);
            for (const auto& party : m_parties)
                party->heard.clear();
        }
    }

    void valuesThatCannotTravelAreRefused() {
        const TestKit::Rows row(this, [&](const QVariant& value, bool isTaken) {
            QVERIFY(meet(2));
            QCOMPARE(at(1).manager.send(QString(), {{"V", value}}), isTaken);
            QCOMPARE(at(1).logger->texts(Log::Level::Error).size(), isTaken ? 0 : 1);
            QVERIFY(at(1).manager.send("After", {}));
            QTRY_COMPARE_WITH_TIMEOUT(at(0).heard.size(), isTaken ? 2 : 1, patienceMs);
            QCOMPARE(at(0).heard.first().second.value("V"), isTaken ? value : QVariant());
            at(1).manager.stop();
            QVERIFY(!at(1).manager.send("Stopped", {}));
        });
        // Frame header, kind, empty name, count, key "V", tag and length of the bytes.
        const int most = MessageFrame::greatestSize - MessageFrame::headerSize - 1 - 4 - 4 - 6 - 5;
        row("as long as it may be", QVariant(QByteArray(most, 'x')), true);
        row("one byte too long", QVariant(QByteArray(most + 1, 'x')), false);
        row("as deep as it may be", QVariant(nested(7)), true);
        row("too deep", QVariant(nested(8)), false);
        row("unknown type", QVariant(QUrl("https://localhost")), false);
        row("unknown type inside", QVariant(QVariantMap{{"A", QVariantList{QUrl()}}}), false);
        row("lists as deep as they may be", nestedList(7), true);
        row("lists too deep", nestedList(8), false);
    }

    // All start at once. When the server stops, another one takes its place, and no accepted message is lost.
    void oneProcessServesAndAnotherTakesOver() {
        for (int index = 0; index < 5; ++index)
            add();
        const auto serving = [this] {
            return std::count_if(m_parties.cbegin(), m_parties.cend(),
                                 [](const auto& party) { return party->manager.isServing(); });
        };
        QTRY_COMPARE_WITH_TIMEOUT(static_cast<int>(serving()), 1, patienceMs);
        while (m_parties.size() > 2) {
            const auto isServing = [](const auto& party) { return party->manager.isServing(); };
            std::iter_swap(m_parties.begin(), std::find_if_not(m_parties.begin(), m_parties.end(), isServing));
            QVERIFY(worksOn());
            QCOMPARE(static_cast<int>(serving()), 1);
            m_parties.erase(std::find_if(m_parties.begin(), m_parties.end(), isServing));
            QVector<int> expected(100);
            std::iota(expected.begin(), expected.end(), 0);
            for (const int number : qAsConst(expected))
                QVERIFY(at(0).manager.send("Numbered", {{"Number", number}}));
            for (size_t index = 1; index < m_parties.size(); ++index) {
                const Party& party = *m_parties.at(index);
                QTRY_VERIFY_WITH_TIMEOUT(party.numbers().size() >= 100, patienceMs);
                QCOMPARE(party.numbers(), expected);
            }
        }
    }

    // The folder of the socket is tidied up: newcomers find the server all the same.
    void aRemovedSocketIsMadeAgain() {
        const QString file = Util::localServerSocketFile(Util::localServerAddress(m_name, m_folder.path()));
        if (file.isEmpty())
            QSKIP("A server cannot lose its name here");
        QVERIFY(meet(2));
        for (int round = 0; round < 2; ++round) {
            QVERIFY(QFile::remove(file));
            QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file), 10000);
        }
        add();
        QVERIFY(worksOn());
    }

    // It also does when it changes its server or becomes the server soon after, which is chance.
    void aNewcomerReceivesWhatIsSentFromThenOn() {
        const QPair<QString, QVariantMap> before("Before", {});
        const QPair<QString, QVariantMap> after("After", {});
        for (int round = 0; round < 6; ++round) {
            startOver();
            QVERIFY(meet(2));
            QVERIFY(at(1).manager.send(before.first, {}));
            QTRY_COMPARE_WITH_TIMEOUT(at(0).heard.size(), 1, patienceMs);
            QTest::qWait(10);
            add();
            for (int attempt = 0; attempt < patienceMs / 10 && at(2).heard.isEmpty(); ++attempt) {
                QVERIFY(at(0).manager.send("There?", {}));
                QTest::qWait(10);
            }
            m_parties.erase(m_parties.begin());
            QVERIFY(at(0).manager.send(after.first, {}));
            QTRY_VERIFY_WITH_TIMEOUT(at(1).heard.contains(after), patienceMs);
            QVERIFY(!at(1).heard.contains(before));
        }
    }

    void messagesOfManyThreadsKeepTheirOrder() {
        constexpr int threads = 4;
        constexpr int each = 500;
        QVERIFY(meet(3));
        std::vector<std::unique_ptr<QThread>> senders;
        for (int thread = 0; thread < threads; ++thread) {
            senders.emplace_back(QThread::create([this, thread] {
                for (int number = 0; number < each; ++number)
                    (void)at(thread % 2).manager.send(QString::number(thread), {{"Number", number}});
            }));
            senders.back()->start();
        }
        QTRY_COMPARE_WITH_TIMEOUT(at(2).heard.size(), threads * each, patienceMs);
        for (const auto& sender : senders)
            QVERIFY(sender->wait(patienceMs));
        QHash<QString, int> next;
        for (const auto& heard : qAsConst(at(2).heard))
            QCOMPARE(heard.second.value("Number").toInt(), next[heard.first]++);
    }

    // A process that was away from its event loop for long receives the latest messages in their order, and has not kept all.
    void aBusyReceiverKeepsTheLatestMessages() {
        constexpr int count = Util::MessageInbox::greatestCount + 1000;
        QVERIFY(meet(2));
        for (int number = 0; number < count; ++number) {
            const QVariantMap params{{"Number", number}};
            while (!at(0).manager.send("Numbered", params))
                QThread::msleep(1);
        }
        const auto hasGivenUp = [this] { return at(1).logger->texts(Log::Level::Warning).size() == 1; };
        for (int attempt = 0; attempt < patienceMs && !hasGivenUp(); ++attempt)
            QThread::msleep(1);
        QVERIFY(hasGivenUp());
        QTRY_VERIFY_WITH_TIMEOUT(at(1).numbers().endsWith(count - 1), patienceMs);
        const QVector<int> numbers = at(1).numbers();
        QVERIFY(numbers.size() >= Util::MessageInbox::greatestCount && numbers.size() < count);
        QVERIFY(std::is_sorted(numbers.cbegin(), numbers.cend(), std::less_equal<>()));
        QVERIFY(worksOn());
    }

    void aManagerMayEndInItsReceiver() {
        const TestKit::Rows row(this, [&](bool isDestroyed) {
            QVERIFY(meet(2));
            auto ending = std::make_unique<IPCManager>(std::make_shared<TestKit::RecordingLogger>());
            int heard = 0;
            connect(ending.get(), &IPCManager::MessageReceived, this, [&ending, &heard, isDestroyed] {
                ++heard;
                if (isDestroyed)
                    ending.reset();
                else
                    ending->stop();
            });
            QVERIFY(ending->start(m_name, m_folder.path()));
            for (int attempt = 0; attempt < patienceMs / 20 && heard == 0; ++attempt) {
                QVERIFY(at(0).manager.send("End", {}) && at(0).manager.send("Another", {}));
                QTest::qWait(20);
            }
            QTest::qWait(50);
            QCOMPARE(heard, 1);
            QVERIFY(worksOn());
        });
        row("stopped", false);
        row("destroyed", true);
    }
};

QTEST_GUILESS_MAIN(IPCManagerTest)
#include "IPCManagerTest.moc"
