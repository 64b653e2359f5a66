#pragma once

#include <QString>
#include <QtGlobal>

namespace Velquor::Util {

/// The identity of a peer on a local socket, and the address of a local server. Thread: any.

enum class PeerRole { Server, Client };

/// The address at which a local server of this user listens. On Posix it is a path of at most 107 bytes in an owner-only folder;
/// `folder` is used when the system has no runtime folder. Empty when there is no safe place.
[[nodiscard]] QString localServerAddress(const QString& serverName, const QString& folder);

/// True when the peer is a process of the same user on this machine. `role` is the peer's. False when the system does not say.
[[nodiscard]] bool isPeerOfSameUser(qintptr socketDescriptor, PeerRole role);

/// False when new clients cannot find the server, because its socket file was removed.
[[nodiscard]] bool isLocalServerReachable(const QString& address);

/// The socket file of the server; empty where the address is not a file.
[[nodiscard]] QString localServerSocketFile(const QString& address);

} // namespace Velquor::Util
