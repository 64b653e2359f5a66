#include "TestKit/Test.h"
#include "VqUtil/Messaging/PeerIdentity.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Velquor::Util;

/// The user at the other end of a socket, and the paths of sockets.
class PosixPeerIdentityTest : public QObject {
    Q_OBJECT

private slots:
    // The system notes the user that made the socket; for a moment, that is not the one of this process.
    void anotherUserIsRefused() {
        int ends[2] = {-1, -1};
        QVERIFY(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == 0);
        QVERIFY(isPeerOfSameUser(ends[0], PeerRole::Server) && isPeerOfSameUser(ends[1], PeerRole::Client));
        const uid_t user = ::geteuid();
        if (user == 0 && ::seteuid(65534) == 0) {
            const bool isTaken = isPeerOfSameUser(ends[0], PeerRole::Server) || isPeerOfSameUser(ends[1], PeerRole::Client);
            QVERIFY(::seteuid(user) == 0);
            QVERIFY(!isTaken);
        }
        ::close(ends[0]);
        ::close(ends[1]);
        QVERIFY(!isPeerOfSameUser(ends[0], PeerRole::Server));
    }

    // A path too long for a socket gives a short one, in a folder of the user's, that is the same each time.
    void aLongFolderGetsAShortSocketPath() {
        qunsetenv("XDG_RUNTIME_DIR");
        // Not under the test's own folder, whose path may be long itself.
        QTemporaryDir place("/tmp/vqws-XXXXXX");
        const QString shortFolder = place.path();
        const QString longFolder = shortFolder + QLatin1Char('/') + QString(120, QLatin1Char('x'));
        QCOMPARE(localServerAddress("Name", shortFolder), shortFolder + QStringLiteral("/Name"));
        const QString address = localServerAddress("Name", longFolder);
        QVERIFY(QFile::encodeName(address).size() <= 90);
        QCOMPARE(localServerAddress("Name", longFolder), address);
        QVERIFY(localServerAddress("Other", longFolder) != address);
        struct stat info {};
        QVERIFY(::stat(QFile::encodeName(QFileInfo(address).path()).constData(), &info) == 0);
        QCOMPARE(static_cast<int>(info.st_mode & 0777), 0700);
        QCOMPARE(info.st_uid, ::geteuid());
    }
};

QTEST_GUILESS_MAIN(PosixPeerIdentityTest)
#include "PosixPeerIdentityTest.moc"
