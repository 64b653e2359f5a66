#include "VqUtil/Platform/UserIdentity.h"

#include <QByteArray>
#include <QFile>
#include <ifaddrs.h>
#include <memory>
#include <netpacket/packet.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Velquor::Util {

namespace {

bool isBlank(const QByteArray& address) {
    return address.count('\0') == address.size();
}

} // namespace

std::optional<QString> currentUserName() {
    struct passwd entry {};
    struct passwd* found = nullptr;
    char buffer[4096];
    if (::getpwuid_r(::geteuid(), &entry, buffer, sizeof buffer, &found) != 0 || !found)
        return std::nullopt;
    return QFile::decodeName(found->pw_name);
}

std::optional<QStringList> adapterAddresses() {
    struct ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0)
        return std::nullopt;
    const std::unique_ptr<struct ifaddrs, decltype(&::freeifaddrs)> list(first, &::freeifaddrs);
    QStringList addresses;
    for (const struct ifaddrs* entry = list.get(); entry; entry = entry->ifa_next) {
        if (!entry->ifa_addr || entry->ifa_addr->sa_family != AF_PACKET)
            continue;
        const auto* const link = reinterpret_cast<const struct sockaddr_ll*>(entry->ifa_addr);
        const QByteArray address(reinterpret_cast<const char*>(link->sll_addr), link->sll_halen);
        if (!isBlank(address))
            addresses += QLatin1String(address.toHex());
    }
    return addresses;
}

} // namespace Velquor::Util
