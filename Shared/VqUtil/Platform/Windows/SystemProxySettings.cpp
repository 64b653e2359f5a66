#include "VqUtil/Platform/SystemProxySettings.h"

#include "VqUtil/Platform/Windows/SystemErrorText.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QRegularExpression>
#include <initializer_list>
#include <wininet.h>

namespace Velquor::Util {

namespace {

struct FlagName {
    DWORD flag;
    const char* name;
};

constexpr FlagName connectionFlagNames[] = {{PROXY_TYPE_DIRECT, "PROXY_TYPE_DIRECT"},
                                            {PROXY_TYPE_PROXY, "PROXY_TYPE_PROXY"},
                                            {PROXY_TYPE_AUTO_PROXY_URL, "PROXY_TYPE_AUTO_PROXY_URL"},
                                            {PROXY_TYPE_AUTO_DETECT, "PROXY_TYPE_AUTO_DETECT"}};

constexpr FlagName discoveryFlagNames[] = {{AUTO_PROXY_FLAG_ALWAYS_DETECT, "AUTO_PROXY_FLAG_ALWAYS_DETECT"},
                                           {AUTO_PROXY_FLAG_CACHE_INIT_RUN, "AUTO_PROXY_FLAG_CACHE_INIT_RUN"},
                                           {AUTO_PROXY_FLAG_DETECTION_RUN, "AUTO_PROXY_FLAG_DETECTION_RUN"},
                                           {AUTO_PROXY_FLAG_DETECTION_SUSPECT, "AUTO_PROXY_FLAG_DETECTION_SUSPECT"},
                                           {AUTO_PROXY_FLAG_DONT_CACHE_PROXY_RESULT, "AUTO_PROXY_FLAG_DONT_CACHE_PROXY_RESULT"},
                                           {AUTO_PROXY_FLAG_MIGRATED, "AUTO_PROXY_FLAG_MIGRATED"},
                                           {AUTO_PROXY_FLAG_USER_SET, "AUTO_PROXY_FLAG_USER_SET"}};

template <std::size_t Count>
QString flagText(DWORD flags, const FlagName (&names)[Count]) {
    QStringList set;
    for (const FlagName& entry : names) {
        if ((flags & entry.flag) != 0)
            set += QLatin1String(entry.name);
    }
    return set.join(QStringLiteral(", "));
}

/// The options in the order of the query. Frees the texts that the system allocates.
class ConnectionOptions {
public:
    enum Index { Flags, ProxyServer, ProxyBypass, AutoConfigUrl, DiscoveryFlags, Count };

    ConnectionOptions() {
        const DWORD options[Count] = {INTERNET_PER_CONN_FLAGS, INTERNET_PER_CONN_PROXY_SERVER, INTERNET_PER_CONN_PROXY_BYPASS,
                                      INTERNET_PER_CONN_AUTOCONFIG_URL, INTERNET_PER_CONN_AUTODISCOVERY_FLAGS};
        for (int index = 0; index < Count; ++index)
            m_options[index].dwOption = options[index];
    }
    ConnectionOptions(const ConnectionOptions&) = delete;
    ConnectionOptions& operator=(const ConnectionOptions&) = delete;
    ~ConnectionOptions() {
        for (const Index index : {ProxyServer, ProxyBypass, AutoConfigUrl}) {
            if (m_options[index].Value.pszValue)
                ::GlobalFree(m_options[index].Value.pszValue);
        }
    }

    /// The error code; 0 on success.
    [[nodiscard]] DWORD query() {
        INTERNET_PER_CONN_OPTION_LISTW list{};
        list.dwSize = sizeof list;
        list.dwOptionCount = Count;
        list.pOptions = m_options;
        DWORD size = sizeof list;
        const BOOL done = ::InternetQueryOptionW(nullptr, INTERNET_OPTION_PER_CONNECTION_OPTION, &list, &size);
        const DWORD code = ::GetLastError();
        return done ? ERROR_SUCCESS : code;
    }

    [[nodiscard]] DWORD number(Index index) const { return m_options[index].Value.dwValue; }

    /// Without user and password, the part of an address before "@".
    [[nodiscard]] QString text(Index index) const {
        static const QRegularExpression credentials(QStringLiteral("((?:^|[;\\s])(?:\\w+=)?(?:\\w+://)?)[^;\\s]*@"));
        const wchar_t* const value = m_options[index].Value.pszValue;
        return value ? QString::fromWCharArray(value).replace(credentials, QStringLiteral("\\1")) : QString();
    }

private:
    INTERNET_PER_CONN_OPTIONW m_options[Count] = {};
};

} // namespace

QStringList systemProxySettings() {
    ConnectionOptions options;
    const DWORD code = options.query();
    if (code != ERROR_SUCCESS)
        return {
            QStringLiteral("Failed to get proxy settings. Error: %1: %2.").arg(code).arg(moduleErrorText(code, L"WinInet.dll"))};
    return {QStringLiteral("Connection Flags: %1").arg(flagText(options.number(ConnectionOptions::Flags), connectionFlagNames)),
            QStringLiteral("Auto Discovery Flags: %1")
                .arg(flagText(options.number(ConnectionOptions::DiscoveryFlags), discoveryFlagNames)),
            QStringLiteral("Auto Config Url: %1").arg(options.text(ConnectionOptions::AutoConfigUrl)),
            QStringLiteral("Proxy Server: %1").arg(options.text(ConnectionOptions::ProxyServer)),
            QStringLiteral("Proxy Bypass: %1").arg(options.text(ConnectionOptions::ProxyBypass))};
}

} // namespace Velquor::Util
