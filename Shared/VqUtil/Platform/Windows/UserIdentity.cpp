#include "VqUtil/Platform/UserIdentity.h"

#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QByteArray>
#include <iphlpapi.h>
#include <iterator>
#include <vector>

namespace Velquor::Util {

namespace {

constexpr ULONG firstSize = 448;

// In units of eight bytes, so that the structures in the buffer are aligned.
using Buffer = std::vector<quint64>;

ULONG readAdapters(Buffer& buffer, ULONG* size) {
    buffer.assign(*size / sizeof(quint64) + 1, 0);
    return ::GetAdaptersAddresses(AF_UNSPEC, GAA_FLAG_INCLUDE_PREFIX, nullptr,
                                  reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data()), size);
}

bool isBlank(const QByteArray& address) {
    return address.count('\0') == address.size();
}

} // namespace

std::optional<QString> currentUserName() {
    wchar_t name[257];
    DWORD size = std::size(name);
    return ::GetUserNameW(name, &size) ? std::optional<QString>(QString::fromWCharArray(name)) : std::nullopt;
}

std::optional<QStringList> adapterAddresses() {
    Buffer buffer;
    ULONG size = firstSize;
    ULONG result = readAdapters(buffer, &size);
    // Once only: an adapter that appears between two calls is rare, and the caller may ask again.
    if (result == ERROR_BUFFER_OVERFLOW)
        result = readAdapters(buffer, &size);
    if (result != ERROR_SUCCESS)
        return std::nullopt;
    QStringList addresses;
    for (const auto* adapter = reinterpret_cast<const IP_ADAPTER_ADDRESSES*>(buffer.data()); adapter; adapter = adapter->Next) {
        const QByteArray address(reinterpret_cast<const char*>(adapter->PhysicalAddress),
                                 static_cast<int>(adapter->PhysicalAddressLength));
        if (!isBlank(address))
            addresses += QLatin1String(address.toHex());
    }
    return addresses;
}

} // namespace Velquor::Util
