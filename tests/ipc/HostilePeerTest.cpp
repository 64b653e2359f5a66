#include "TestKit/MessagingTest.h"
#include "VqUtil/Messaging/MessageCodec.h"
#include "VqUtil/Messaging/MessageFrame.h"
#include "VqUtil/Messaging/PeerIdentity.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <limits>

using namespace Velquor;
using Util::MessageFrame;

namespace {

constexpr quint32 fuzzSeed = 20250617;
constexpr int timePlace = MessageFrame::headerSize - static_cast<int>(sizeof(qint64));

QByteArray frame(MessageFrame::Kind kind, const QByteArray& content) {
    MessageFrame made;
    made.kind = kind;
    made.id = MessageFrame::newId();
    made.sentMs = std::numeric_limits<qint64>::max();
    made.content = content;
    return made.toBytes();
}

QByteArray hello() {
    return frame(MessageFrame::Kind::Hello, {});
}
QByteArray message(const QByteArray& content) {
    return frame(MessageFrame::Kind::Message, content);
}

QByteArray length(quint32 number) {
    const quint32 bytes = qToBigEndian(number);
    return QByteArray(reinterpret_cast<const char*>(&bytes), sizeof bytes);
}

QByteArray withByte(QByteArray bytes, int place, char value) {
    bytes[place] = value;
    return bytes;
}

const QByteArray& emptyName() {
    static const QByteArray name(4, '\0');
    return name;
}

/// Messages of which some have bytes changed or cut off at random.
class DamagedFrames {
public:
    QByteArray next() {
        const quint64 id[2] = {m_random.generate64(), m_random.generate64()};
        QByteArray bytes = QByteArray(m_whole).replace(9, 16, QByteArray(reinterpret_cast<const char*>(id), sizeof id));
        for (int change = m_random.bounded(4) == 0 ? 1 + m_random.bounded(2) : 0; change > 0; --change) {
            // A changed first byte of the time could make the message too old to be delivered.
            const int place = m_random.bounded(bytes.size());
            if (place != timePlace)
                bytes[place] = static_cast<char>(m_random.bounded(256));
        }
        if (m_random.bounded(50) == 0)
            bytes.truncate(m_random.bounded(bytes.size()));
        return bytes;
    }

private:
    const QByteArray m_whole = message(emptyName() + QByteArray("\0\0\0\1\0\0\0\1\0V\x07\0\0\0\2\0a\0b", 19));
    QRandomGenerator m_random{fuzzSeed};
};

/// What a process that keeps to the rules makes of the bytes of one peer, behind its hello.
struct Outcome {
    void add(const QByteArray& bytes) {
        reader.add(bytes);
        MessageFrame frame;
        auto result = Util::MessageFrameReader::Result::Whole;
        while (!isEnded && result == Util::MessageFrameReader::Result::Whole) {
            result = reader.next(&frame);
            if (result == Util::MessageFrameReader::Result::Whole)
                take(frame);
        }
        isEnded = isEnded || result == Util::MessageFrameReader::Result::Hostile;
    }

    void take(const MessageFrame& frame) {
        if (frame.kind == MessageFrame::Kind::Message && Util::MessageCodec::decode(frame.content))
            ++heard;
        else
            isEnded = true;
    }

    Util::MessageFrameReader reader;
    int heard = 0;
    bool isEnded = false;
};

} // namespace

/// Managers among peers that do not keep to the rules.
class HostilePeerTest : public TestKit::MessagingTest {
    Q_OBJECT

private slots:
    void init() { startOver(); }
    void cleanup() { m_parties.clear(); }

    void aPeerThatBreaksTheProtocolIsDisconnected() {
        const TestKit::Rows row(this, [&](const QByteArray& bytes) {
            QVERIFY(meet(2));
            const auto socket = intruder(bytes);
            QTRY_COMPARE_WITH_TIMEOUT(socket->state(), QLocalSocket::UnconnectedState, patienceMs);
            QTRY_COMPARE_WITH_TIMEOUT(at(0).logger->texts(Log::Level::Warning).size(), 1, patienceMs);
            QVERIFY(!at(0).logger->texts(Log::Level::Warning).first().contains("in time")); // at once, not at a time-out
            QVERIFY(at(1).heard.isEmpty() && at(0).heard.isEmpty());
            QVERIFY(worksOn());
        });
        const QByteArray good = message(emptyName() + QByteArray(4, '\0'));
        const QByteArray header = good.left(5);
        row("no frame", "GET / HTTP/1.1\r\n\r\n");
        row("another version", withByte(hello(), 4, 2));
        row("length 0", header + length(0));
        row("length 2^31", header + length(0x80000000));
        row("length 2^32-1", header + length(0xffffffff));
        row("one byte too long", header + length(MessageFrame::greatestSize - MessageFrame::headerSize + 1));
        row("unknown kind", withByte(hello(), MessageFrame::headerSize, 4));
        row("message before hello", good);
        row("hello with a content", frame(MessageFrame::Kind::Hello, "abc"));
        row("two hellos", hello() + hello());
        row("empty message", hello() + message({}));
        row("name beyond the end", hello() + message(QByteArray("\x7f\xff\xff\xff", 4)));
        row("count beyond the end", hello() + message(emptyName() + QByteArray(4, '\xff')));
        row("unknown value", hello() + message(emptyName() + QByteArray("\0\0\0\1\0\0\0\0\x63", 9)));
        row("a time beyond all times",
            hello() + message(emptyName() + QByteArray("\0\0\0\1\0\0\0\0\x09\x7f", 10) + QByteArray(7, '\xff')));
        row("a list beyond the end",
            hello() + message(emptyName() + QByteArray("\0\0\0\1\0\0\0\0\x0f", 9) + QByteArray(4, '\xff')));
        row("bytes behind the end", hello() + message(emptyName() + QByteArray(5, '\0')));
        QByteArray deep = emptyName();
        for (int depth = 0; depth < 9; ++depth)
            deep += QByteArray("\0\0\0\1\0\0\0\0\x0d", 9);
        row("too deep", hello() + message(deep + QByteArray(4, '\0')));
    }

    void aPeerThatDoesNotFinishIsDisconnected() {
        const TestKit::Rows row(this, [&](const QByteArray& bytes) {
            QVERIFY(meet(2));
            const auto socket = intruder(bytes);
            for (int second = 0; second < 50 && socket->state() == QLocalSocket::ConnectedState; ++second) {
                QVERIFY(worksOn());
                if (bytes.size() == 1)
                    socket->write(hello().mid(second + 1, 1));
                QTest::qWait(80);
            }
            QCOMPARE(socket->state(), QLocalSocket::UnconnectedState);
        });
        row("silent", {});
        row("half a frame", hello() + message(QByteArray(100, '\0')).left(50));
        row("byte by byte", hello().left(1));
    }

    // A server that ends each connection as soon as it is made is not asked again and again.
    void aServerThatRejectsIsNotAskedConstantly() {
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
        add();
        QTRY_VERIFY_WITH_TIMEOUT(count >= 3, patienceMs);
        QTest::qWait(1000);
        QVERIFY2(count < 20, qPrintable(QString::number(count)));
        server.close();
        QTRY_VERIFY_WITH_TIMEOUT(at(0).manager.isServing(), patienceMs);
        QVERIFY(meet(2));
    }

    // Connections beyond the limit are closed, and the earlier ones are served on.
    void connectionsBeyondTheLimitAreRefused() {
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
        QCOMPARE(warnings.filter("Refused a connection").size(), 1);
        QVERIFY(worksOn());
        sockets.clear();
        QVERIFY(meet(3));
    }

    void aPeerThatDoesNotReadDelaysNobody() {
        QVERIFY(meet(3));
        const auto socket = intruder(hello());
        socket->setReadBufferSize(1);
        QTest::qWait(100);
        const QVariantMap params{{"Bytes", QByteArray(60000, 'x')}};
        for (int number = 0; number < 200; ++number) {
            QVERIFY(at(1).manager.send("Large", params));
            QTRY_COMPARE_WITH_TIMEOUT(at(2).heard.size(), number + 1, TestKit::limitMs(1000));
        }
        QTRY_COMPARE_WITH_TIMEOUT(at(0).logger->texts(Log::Level::Warning).size(), 1, patienceMs);
        QCOMPARE(at(0).heard.size(), 200);
    }

    // Damaged frames among good ones, of several peers at a time: what came before the first one that is none is heard, nothing
    // behind it is, and all others are served on.
    void damagedFramesEndTheirOwnConnectionOnly() {
        struct Peer {
            Outcome expected;
            std::unique_ptr<QLocalSocket> socket;
            [[nodiscard]] bool isEnded() const { return socket->state() == QLocalSocket::UnconnectedState; }
        };
        constexpr int peersAtATime = 16;
        constexpr int mostOfOnePeer = 100;
        QVERIFY(meet(2));
        DamagedFrames frames;
        const int wanted = TestKit::rounds(20000, 1000000);
        int sent = 0;
        int connections = 0;
        int messages = 0;
        for (; sent < wanted; connections += peersAtATime) {
            std::vector<Peer> peers(peersAtATime);
            int heard = 0;
            for (Peer& peer : peers) {
                QByteArray bytes = hello();
                for (int count = 0; count < mostOfOnePeer && !peer.expected.isEnded; ++count, ++sent) {
                    const QByteArray next = frames.next();
                    peer.expected.add(next);
                    bytes += next;
                }
                peer.socket = intruder(bytes);
                heard += peer.expected.heard;
            }
            const auto isDone = [&] {
                QCoreApplication::processEvents();
                return at(0).heard.size() >= heard && std::all_of(peers.cbegin(), peers.cend(), [](const Peer& peer) {
                           return peer.isEnded() || !peer.expected.isEnded;
                       });
            };
            for (const QDeadlineTimer patience(patienceMs); !isDone() && !patience.hasExpired();)
                QThread::yieldCurrentThread();
            QCOMPARE(at(0).heard.size(), heard);
            for (const Peer& peer : peers)
                QCOMPARE(peer.isEnded(), peer.expected.isEnded);
            messages += heard;
            at(0).heard.clear();
            at(1).heard.clear();
            at(0).logger->clear();
        }
        QVERIFY(worksOn());
        QVERIFY(connections > wanted / 50 && messages > wanted / 2);
        TestKit::figure(
            QStringLiteral("damaged frames, seed %1").arg(fuzzSeed), "the service goes on",
            QStringLiteral("%1 frames over %2 connections, %3 of them messages").arg(sent).arg(connections).arg(messages));
    }

private:
    [[nodiscard]] std::unique_ptr<QLocalSocket> intruder(const QByteArray& bytes) const {
        auto socket = std::make_unique<QLocalSocket>();
        socket->connectToServer(Util::localServerAddress(m_name, m_folder.path()));
        if (socket->waitForConnected(patienceMs))
            socket->write(bytes);
        return socket;
    }
};

QTEST_GUILESS_MAIN(HostilePeerTest)
#include "HostilePeerTest.moc"
