#include "VqUtil/Messaging/PeerIdentity.h"

#include "VqUtil/ProcessState/SharedBlock.h"

#include <QCryptographicHash>
#include <QFile>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace Velquor::Util {

namespace {

constexpr int longestPath = sizeof(sockaddr_un::sun_path) - 1;
// What the server's temporary name takes beside it while it starts to listen.
constexpr int roomForTemporary = 16;

bool isOwnersAlone(const QByteArray& folder) {
    struct stat info {};
    return ::lstat(folder.constData(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid()
           && (info.st_mode & 077) == 0;
}

// Others may have taken the name in a folder that is everybody's; then it is not used.
QString shortAddress(const QByteArray& path) {
    const QByteArray folder = "/tmp/velquor-" + QByteArray::number(::geteuid());
    ::mkdir(folder.constData(), 0700);
    if (!isOwnersAlone(folder))
        return {};
    const QByteArray digest = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex().left(32);
    return QFile::decodeName(folder + '/' + digest);
}

} // namespace

QString localServerAddress(const QString& serverName, const QString& folder) {
    const QByteArray path = QFile::encodeName(sharedBlockFolder(folder) + QLatin1Char('/') + serverName);
    return path.size() + roomForTemporary <= longestPath ? QFile::decodeName(path) : shortAddress(path);
}

bool isLocalServerNamed(const QString& address) {
    struct stat info {};
    return ::lstat(QFile::encodeName(address).constData(), &info) == 0 && S_ISSOCK(info.st_mode);
}

QString localServerFile(const QString& address) {
    return address;
}

// For a client, the system tells of the process that listened; for a server, of the one that connected.
bool isPeerOfSameUser(qintptr socketDescriptor, PeerRole) {
    struct ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt(static_cast<int>(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && size == sizeof peer
           && peer.uid == ::geteuid();
}

} // namespace Velquor::Util
