#include "TestKit/RecordingLogger.h"
#include "TestKit/Soak.h"
#include "VqUtil/Ipc/IPCManager.h"
#include "VqUtil/Ipc/MessageFrame.h"
#include "VqUtil/Ipc/MessageInbox.h"
#include "VqUtil/Platform/PeerIdentity.h"

#include <QDateTime>
#include <QDeadlineTimer>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <QUuid>
#include <QtTest>
#include <algorithm>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

using namespace Velquor;
using Util::IPCManager;
using Util::MessageFrame;

namespace {

constexpr int patienceMs = 10000;
constexpr quint32 fuzzSeed = 20250617;

QVariantMap nested(int depth) { return depth == 1 ? QVariantMap() : QVariantMap{{QStringLiteral("Map"), nested(depth - 1)}}; }

QVariant nestedList(int depth) { return depth == 1 ? QVariantList() : QVariantList{nestedList(depth - 1)}; }

QByteArray frame(MessageFrame::Kind kind, const QByteArray& content) {
    MessageFrame made;
    made.kind = kind;
    made.id = MessageFrame::newId();
    made.content = content;
    return made.toBytes();
}

QByteArray hello() { return frame(MessageFrame::Kind::Hello, QByteArray(8, '\x7f')); }
QByteArray message(const QByteArray& content) { return frame(MessageFrame::Kind::Message, content); }

QByteArray withByte(QByteArray bytes, int place, char value) {
    bytes[place] = value;
    return bytes;
}

const QByteArray& emptyName() {
    static const QByteArray name(4, '\0');
    return name;
}

/// A manager and what it has heard.
struct Party {
    explicit Party(const QString& name, const QString& folder) {
        QObject::connect(&manager, &IPCManager::MessageReceived, &manager,
                         [this](const QString& name, const QVariantMap& params) { heard.append({name, params}); });
        isStarted = manager.start(name, folder);
    }

    [[nodiscard]] QVector<int> numbers() const {
        QVector<int> found;
        for (const auto& one : heard) {
            if (one.first == QLatin1String("Numbered"))
                found += one.second.value(QStringLiteral("Number")).toInt();
        }
        return found;
    }

    std::shared_ptr<TestKit::RecordingLogger> logger = std::make_shared<TestKit::RecordingLogger>();
    QVector<QPair<QString, QVariantMap>> heard;
    bool isStarted = false;
    IPCManager manager{logger};
};

} // namespace

/// Managers of one process with each other and with peers that do not keep to the rules.
class IPCManagerTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void values();
    void refusals_data();
    void refusals();
    void oneServer();
    void removedSocket();
    void newcomer();
    void manyThreads();
    void busyReceiver();
    void endInReceiver_data();
    void endInReceiver();
    void hostilePeer_data();
    void hostilePeer();
    void unfinishedPeer_data();
    void unfinishedPeer();
    void refusingServer();
    void crowd();
    void slowPeer();
    void fuzz();

private:
    /// `count` managers that hear each other.
    [[nodiscard]] bool meet(int count);
    [[nodiscard]] Party& at(int index) { return *m_parties.at(static_cast<size_t>(index)); }
    [[nodiscard]] bool worksOn();
    [[nodiscard]] std::unique_ptr<QLocalSocket> intruder(const QByteArray& bytes) const;

    QTemporaryDir m_folder;
    QString m_name;
    std::vector<std::unique_ptr<Party>> m_parties;
    int m_probe = 0;
};

void IPCManagerTest::initTestCase() { qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_folder.path())); }

void IPCManagerTest::init() { m_name = QStringLiteral("Vq") + QUuid::createUuid().toString(QUuid::Id128); }

void IPCManagerTest::cleanup() { m_parties.clear(); }

bool IPCManagerTest::meet(int count) {
    while (static_cast<int>(m_parties.size()) < count) {
        m_parties.push_back(std::make_unique<Party>(m_name, m_folder.path()));
        if (!m_parties.back()->isStarted || !QTest::qWaitFor([this] { return at(0).manager.isServing(); }, patienceMs))
            return false;
    }
    return worksOn();
}

// Probes until all others have heard one, since a newcomer hears what is sent once it is there.
bool IPCManagerTest::worksOn() {
    const QVariantMap probe{{QStringLiteral("Probe"), ++m_probe}};
    const QPair<QString, QVariantMap> expected(QStringLiteral("Probe"), probe);
    const auto hasHeard = [&expected](const std::unique_ptr<Party>& party) { return party->heard.contains(expected); };
    for (int attempt = 0; attempt < patienceMs / 20; ++attempt) {
        if (!at(0).manager.send(expected.first, probe))
            return false;
        if (QTest::qWaitFor([&] { return std::all_of(m_parties.begin() + 1, m_parties.end(), hasHeard); }, 20)) {
            QTest::qWait(20);
            for (const auto& party : m_parties)
                party->heard.clear();
            return true;
        }
    }
    return false;
}

std::unique_ptr<QLocalSocket> IPCManagerTest::intruder(const QByteArray& bytes) const {
    auto socket = std::make_unique<QLocalSocket>();
    socket->connectToServer(Util::localServerAddress(m_name, m_folder.path()));
    if (socket->waitForConnected(patienceMs))
        socket->write(bytes);
    return socket;
}

void IPCManagerTest::values() {
    QVERIFY(meet(3));
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(1700000000123, Qt::UTC);
    const QVariantMap inner{{QStringLiteral("Text"), QString::fromUtf8("ä€𝄞")}, {QString(), QVariant()}};
    const QVariantMap params{{QStringLiteral("Bool"), true}, {QStringLiteral("Int"), -7}, {QStringLiteral("UInt"), 4000000000u},
                             {QStringLiteral("Long"), std::numeric_limits<qint64>::min()},
                             {QStringLiteral("ULong"), std::numeric_limits<quint64>::max()}, {QStringLiteral("Double"), -1.5e300},
                             {QStringLiteral("Half"), QString(QChar(0xd800))}, {QStringLiteral("Bytes"), QByteArray("\0\xff", 2)},
                             {QStringLiteral("Utc"), moment}, {QStringLiteral("Local"), moment.toLocalTime()},
                             {QStringLiteral("Offset"), moment.toOffsetFromUtc(-5400)}, {QStringLiteral("NoTime"), QDateTime()},
                             {QStringLiteral("Texts"), QStringList{QStringLiteral("a"), QString()}}, {QStringLiteral("Map"), inner},
                             {QStringLiteral("List"), QVariantList{1, QStringLiteral("a"), QVariantList{inner}}},
                             {QStringLiteral("Deep"), nested(7)}};
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
        QCOMPARE(heard.second.value(QStringLiteral("Offset")).toDateTime().offsetFromUtc(), -5400);
        for (const auto& party : m_parties)
            party->heard.clear();
    }
}

void IPCManagerTest::refusals_data() {
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("isTaken");
    // Frame header, kind, empty name, count, key "V", tag and length of the bytes.
    const int most = MessageFrame::greatestSize - MessageFrame::headerSize - 1 - 4 - 4 - 6 - 5;
    QTest::newRow("as long as it may be") << QVariant(QByteArray(most, 'x')) << true;
    QTest::newRow("one byte too long") << QVariant(QByteArray(most + 1, 'x')) << false;
    QTest::newRow("as deep as it may be") << QVariant(nested(7)) << true;
    QTest::newRow("too deep") << QVariant(nested(8)) << false;
    QTest::newRow("unknown type") << QVariant(QUrl(QStringLiteral("https://localhost"))) << false;
    QTest::newRow("unknown type inside") << QVariant(QVariantMap{{QStringLiteral("A"), QVariantList{QUrl()}}}) << false;
    QTest::newRow("lists as deep as they may be") << nestedList(7) << true;
    QTest::newRow("lists too deep") << nestedList(8) << false;
}

void IPCManagerTest::refusals() {
    QFETCH(QVariant, value);
    QFETCH(bool, isTaken);
    QVERIFY(meet(2));
    QCOMPARE(at(1).manager.send(QString(), {{QStringLiteral("V"), value}}), isTaken);
    QCOMPARE(at(1).logger->texts(Log::Level::Error).size(), isTaken ? 0 : 1);
    QVERIFY(at(1).manager.send(QStringLiteral("After"), {}));
    QTRY_COMPARE_WITH_TIMEOUT(at(0).heard.size(), isTaken ? 2 : 1, patienceMs);
    QCOMPARE(at(0).heard.first().second.value(QStringLiteral("V")), isTaken ? value : QVariant());
    at(1).manager.stop();
    QVERIFY(!at(1).manager.send(QStringLiteral("Stopped"), {}));
}

// All start at once; when the one that serves stops, another takes its place, and nothing that was accepted meanwhile is lost.
void IPCManagerTest::oneServer() {
    for (int index = 0; index < 5; ++index)
        m_parties.push_back(std::make_unique<Party>(m_name, m_folder.path()));
    const auto serving = [this] {
        return std::count_if(m_parties.cbegin(), m_parties.cend(), [](const auto& party) { return party->manager.isServing(); });
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
            QVERIFY(at(0).manager.send(QStringLiteral("Numbered"), {{QStringLiteral("Number"), number}}));
        for (size_t index = 1; index < m_parties.size(); ++index) {
            const Party& party = *m_parties.at(index);
            QTRY_VERIFY_WITH_TIMEOUT(party.numbers().size() >= 100, patienceMs);
            QCOMPARE(party.numbers(), expected);
        }
    }
}

// Somebody tidies up the folder of the socket: newcomers find the server all the same.
void IPCManagerTest::removedSocket() {
    const QString file = Util::localServerFile(Util::localServerAddress(m_name, m_folder.path()));
    if (file.isEmpty())
        QSKIP("A server cannot lose its name here");
    QVERIFY(meet(2));
    for (int round = 0; round < 2; ++round) {
        QVERIFY(QFile::remove(file));
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(file), 2000);
        // The watch on the new name comes a moment after it.
        QTest::qWait(200);
    }
    m_parties.push_back(std::make_unique<Party>(m_name, m_folder.path()));
    QVERIFY(worksOn());
}

// It hears what is sent from its coming on, also when it changes its server soon after.
void IPCManagerTest::newcomer() {
    QVERIFY(meet(3));
    QVERIFY(at(1).manager.send(QStringLiteral("Before"), {}));
    QTRY_COMPARE_WITH_TIMEOUT(at(2).heard.size(), 1, patienceMs);
    QTest::qWait(50);
    QVERIFY(meet(4));
    m_parties.erase(m_parties.begin());
    const QPair<QString, QVariantMap> after(QStringLiteral("After"), {});
    QVERIFY(at(1).manager.send(after.first, {}));
    QTRY_VERIFY_WITH_TIMEOUT(at(2).heard.contains(after), patienceMs);
    // Whoever takes the seat is told again what the others have lately sent, since they cannot know how long it has been there.
    QVERIFY(at(2).manager.isServing() || !at(2).heard.contains({QStringLiteral("Before"), {}}));
}

void IPCManagerTest::manyThreads() {
    constexpr int threads = 4;
    constexpr int each = 500;
    QVERIFY(meet(3));
    std::vector<std::unique_ptr<QThread>> senders;
    for (int thread = 0; thread < threads; ++thread) {
        senders.emplace_back(QThread::create([this, thread] {
            for (int number = 0; number < each; ++number)
                (void)at(thread % 2).manager.send(QString::number(thread), {{QStringLiteral("Number"), number}});
        }));
        senders.back()->start();
    }
    QTRY_COMPARE_WITH_TIMEOUT(at(2).heard.size(), threads * each, patienceMs);
    for (const auto& sender : senders)
        QVERIFY(sender->wait(patienceMs));
    QHash<QString, int> next;
    for (const auto& heard : qAsConst(at(2).heard))
        QCOMPARE(heard.second.value(QStringLiteral("Number")).toInt(), next[heard.first]++);
}

// Who comes back to its event loop after a long time finds the latest messages, in their order, and has not kept all of them.
void IPCManagerTest::busyReceiver() {
    constexpr int count = Util::MessageInbox::greatestCount + 1000;
    QVERIFY(meet(2));
    for (int number = 0; number < count; ++number) {
        const QVariantMap params{{QStringLiteral("Number"), number}};
        while (!at(0).manager.send(QStringLiteral("Numbered"), params))
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

void IPCManagerTest::endInReceiver_data() {
    QTest::addColumn<bool>("isDestroyed");
    QTest::newRow("stopped") << false;
    QTest::newRow("destroyed") << true;
}

void IPCManagerTest::endInReceiver() {
    QFETCH(bool, isDestroyed);
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
        QVERIFY(at(0).manager.send(QStringLiteral("End"), {}) && at(0).manager.send(QStringLiteral("Another"), {}));
        QTest::qWait(20);
    }
    QTest::qWait(50);
    QCOMPARE(heard, 1);
    QVERIFY(worksOn());
}

void IPCManagerTest::hostilePeer_data() {
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray good = message(emptyName() + QByteArray(4, '\0'));
    const QByteArray header = good.left(5);
    QTest::newRow("no frame") << QByteArray("GET / HTTP/1.1\r\n\r\n");
    QTest::newRow("another version") << withByte(hello(), 4, 2);
    QTest::newRow("length 0") << header + QByteArray(4, '\0');
    QTest::newRow("length 2^31") << header + QByteArray("\x80\0\0\0", 4);
    QTest::newRow("length 2^32-1") << header + QByteArray(4, '\xff');
    QTest::newRow("one byte too long") << header + QByteArray("\0\0\xff\xe8", 4);
    QTest::newRow("unknown kind") << withByte(hello(), MessageFrame::headerSize, 4);
    QTest::newRow("message before hello") << good;
    QTest::newRow("hello without its time") << frame(MessageFrame::Kind::Hello, "abc");
    QTest::newRow("two hellos") << hello() + hello();
    QTest::newRow("empty message") << hello() + message({});
    QTest::newRow("name beyond the end") << hello() + message(QByteArray("\x7f\xff\xff\xff", 4));
    QTest::newRow("count beyond the end") << hello() + message(emptyName() + QByteArray(4, '\xff'));
    QTest::newRow("unknown value") << hello() + message(emptyName() + QByteArray("\0\0\0\1\0\0\0\0\x63", 9));
    QTest::newRow("a time beyond all times")
        << hello() + message(emptyName() + QByteArray("\0\0\0\1\0\0\0\0\x09\x7f", 10) + QByteArray(7, '\xff'));
    QTest::newRow("a list beyond the end")
        << hello() + message(emptyName() + QByteArray("\0\0\0\1\0\0\0\0\x0f", 9) + QByteArray(4, '\xff'));
    QTest::newRow("bytes behind the end") << hello() + message(emptyName() + QByteArray(5, '\0'));
    QByteArray deep = emptyName();
    for (int depth = 0; depth < 9; ++depth)
        deep += QByteArray("\0\0\0\1\0\0\0\0\x0d", 9);
    QTest::newRow("too deep") << hello() + message(deep + QByteArray(4, '\0'));
}

void IPCManagerTest::hostilePeer() {
    QFETCH(QByteArray, bytes);
    QVERIFY(meet(2));
    const auto socket = intruder(bytes);
    QTRY_COMPARE_WITH_TIMEOUT(socket->state(), QLocalSocket::UnconnectedState, 1500);
    QTRY_COMPARE_WITH_TIMEOUT(at(0).logger->texts(Log::Level::Warning).size(), 1, patienceMs);
    QVERIFY(at(1).heard.isEmpty() && at(0).heard.isEmpty());
    QVERIFY(worksOn());
}

void IPCManagerTest::unfinishedPeer_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("silent") << QByteArray();
    QTest::newRow("half a frame") << hello() + message(QByteArray(100, '\0')).left(50);
    QTest::newRow("byte by byte") << hello().left(1);
}

void IPCManagerTest::unfinishedPeer() {
    QFETCH(QByteArray, bytes);
    QVERIFY(meet(2));
    const auto socket = intruder(bytes);
    for (int second = 0; second < 50 && socket->state() == QLocalSocket::ConnectedState; ++second) {
        QVERIFY(worksOn());
        if (bytes.size() == 1)
            socket->write(hello().mid(second + 1, 1));
        QTest::qWait(80);
    }
    QCOMPARE(socket->state(), QLocalSocket::UnconnectedState);
}

// A server that ends each connection as soon as it is made is not asked again and again.
void IPCManagerTest::refusingServer() {
    QLocalServer server;
    int count = 0;
    connect(&server, &QLocalServer::newConnection, this, [&server, &count] {
        while (QLocalSocket* const socket = server.nextPendingConnection()) {
            ++count;
            socket->abort();
            socket->deleteLater();
        }
    });
    QVERIFY(server.listen(Util::localServerAddress(m_name, m_folder.path())));
    m_parties.push_back(std::make_unique<Party>(m_name, m_folder.path()));
    QTRY_VERIFY_WITH_TIMEOUT(count >= 3, patienceMs);
    QTest::qWait(1000);
    QVERIFY2(count < 20, qPrintable(QString::number(count)));
    server.close();
    QTRY_VERIFY_WITH_TIMEOUT(at(0).manager.isServing(), patienceMs);
    QVERIFY(meet(2));
}

// More connections than are served: the ones beyond end, and who was there before is served on.
void IPCManagerTest::crowd() {
    QVERIFY(meet(2));
    std::vector<std::unique_ptr<QLocalSocket>> sockets;
    for (int count = 0; count < 300; ++count) {
        sockets.push_back(intruder(hello()));
        QCoreApplication::processEvents();
    }
    const auto isOpen = [](const auto& socket) { return socket->state() == QLocalSocket::ConnectedState; };
    QTRY_VERIFY_WITH_TIMEOUT(std::count_if(sockets.cbegin(), sockets.cend(), isOpen) < 300, patienceMs);
    // One line in the log for all of them.
    const QStringList warnings = at(0).logger->texts(Log::Level::Warning);
    QCOMPARE(warnings.filter(QStringLiteral("Refused a connection")).size(), 1);
    QVERIFY(worksOn());
    sockets.clear();
    QVERIFY(meet(3));
}

void IPCManagerTest::slowPeer() {
    QVERIFY(meet(3));
    const auto socket = intruder(hello());
    socket->setReadBufferSize(1);
    QTest::qWait(100);
    const QVariantMap params{{QStringLiteral("Bytes"), QByteArray(60000, 'x')}};
    for (int number = 0; number < 200; ++number) {
        QVERIFY(at(1).manager.send(QStringLiteral("Large"), params));
        QTRY_COMPARE_WITH_TIMEOUT(at(2).heard.size(), number + 1, 1000);
    }
    QTRY_COMPARE_WITH_TIMEOUT(at(0).logger->texts(Log::Level::Warning).size(), 1, patienceMs);
    QCOMPARE(at(0).heard.size(), 200);
}

// Frames with bytes changed or cut off at random, each given time to arrive: the connection may end, nothing else may.
void IPCManagerTest::fuzz() {
    QVERIFY(meet(2));
    QRandomGenerator random(fuzzSeed);
    const QByteArray whole = message(emptyName() + QByteArray("\0\0\0\1\0\0\0\1\0V\x07\0\0\0\2\0a\0b", 19));
    const int frames = TestKit::rounds(20000, 1000000);
    int heard = 0;
    int ended = 0;
    for (int sent = 0; sent < frames; ++ended) {
        const auto socket = intruder(hello());
        bool isSwallowing = false;
        for (int count = 0; count < 200 && socket->state() == QLocalSocket::ConnectedState; ++count, ++sent) {
            quint64 id[2] = {random.generate64(), random.generate64()};
            QByteArray bytes = QByteArray(whole).replace(9, 16, QByteArray(reinterpret_cast<const char*>(id), sizeof id));
            for (int change = random.bounded(3); change > 0; --change)
                bytes[random.bounded(bytes.size())] = static_cast<char>(random.bounded(256));
            if (random.bounded(50) == 0)
                bytes.truncate(random.bounded(bytes.size()));
            const int before = at(0).heard.size();
            socket->write(bytes);
            socket->flush();
            const auto isAnswered = [&] {
                QCoreApplication::processEvents();
                return at(0).heard.size() > before || socket->state() != QLocalSocket::ConnectedState;
            };
            // One that says more bytes than it has is answered by nothing, and swallows what comes after it.
            const QDeadlineTimer patience(isSwallowing ? 0 : 1);
            while (!isAnswered() && !patience.hasExpired())
                QThread::yieldCurrentThread();
            isSwallowing = at(0).heard.size() == before;
        }
        heard += at(0).heard.size();
        at(0).heard.clear();
        at(1).heard.clear();
        at(0).logger->clear();
    }
    QVERIFY(worksOn());
    TestKit::figure(QStringLiteral("damaged frames, seed %1").arg(fuzzSeed), QStringLiteral("the service goes on"),
                    QStringLiteral("%1 frames over %2 connections, %3 of them messages").arg(frames).arg(ended).arg(heard));
    // How many depends on how soon answers come.
    QVERIFY(ended > frames / 200 && heard > frames / 200);
}

QTEST_GUILESS_MAIN(IPCManagerTest)
#include "IPCManagerTest.moc"
