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
// Qt listens under a temporary, longer name first and then renames the socket.
constexpr int temporarySuffixSize = 16;

bool isOwnerOnly(const QByteArray& folder) {
    struct stat info {};
    return ::lstat(folder.constData(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid()
           && (info.st_mode & 077) == 0;
}

// Everybody may write to /tmp. A folder of that name that another user has created is not used.
QString shortAddress(const QByteArray& path) {
    const QByteArray folder = "/tmp/velquor-" + QByteArray::number(::geteuid());
    ::mkdir(folder.constData(), 0700);
    if (!isOwnerOnly(folder))
        return {};
    const QByteArray digest = QCryptographicHash::hash(path, QCryptographicHash::Sha256).toHex().left(32);
    return QFile::decodeName(folder + '/' + digest);
}

} // namespace

QString localServerAddress(const QString& serverName, const QString& folder) {
    const auto in = [&serverName](const QString& place) { return QFile::encodeName(place + QLatin1Char('/') + serverName); };
    const auto fits = [](const QByteArray& path) { return path.size() + temporarySuffixSize <= longestPath; };
    const QByteArray path = in(sharedBlockFolder(folder));
    if (fits(path))
        return QFile::decodeName(path);
    const QString brief = shortAddress(path);
    return brief.isEmpty() && fits(in(folder)) ? QFile::decodeName(in(folder)) : brief;
}

bool isLocalServerReachable(const QString& address) {
    struct stat info {};
    return ::lstat(QFile::encodeName(address).constData(), &info) == 0 && S_ISSOCK(info.st_mode);
}

QString localServerSocketFile(const QString& address) {
    return address;
}

// The kernel reports the process that listened to a client, and the process that connected to a server. So `role` is not needed.
bool isPeerOfSameUser(qintptr socketDescriptor, PeerRole) {
    struct ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt(static_cast<int>(socketDescriptor), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && size == sizeof peer
           && peer.uid == ::geteuid();
}

} // namespace Velquor::Util
