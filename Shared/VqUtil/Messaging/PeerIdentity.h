#pragma once

#include <QString>
#include <QtGlobal>

namespace Velquor::Util {

/// Who is at the other end of a local socket, and where the socket of a name is. Thread: any.

enum class PeerRole { Server, Client };

/// The name under which a local server of this user listens and is found; a path on Posix, at most 107 bytes long, in a folder
/// that is the user's alone. `folder` takes what has no better place. Empty when there is no safe place.
[[nodiscard]] QString localServerAddress(const QString& serverName, const QString& folder);

/// True when the process at the other end of the connection is of the user of this process, on this machine. `role` is the
/// other's; anything that cannot be told is a no.
[[nodiscard]] bool isPeerOfSameUser(qintptr socketDescriptor, PeerRole role);

/// False when newcomers no longer find the server that listens there, since somebody has removed its socket.
[[nodiscard]] bool isLocalServerNamed(const QString& address);

/// The file whose removal makes it so; empty where a server cannot lose its name.
[[nodiscard]] QString localServerFile(const QString& address);

} // namespace Velquor::Util
