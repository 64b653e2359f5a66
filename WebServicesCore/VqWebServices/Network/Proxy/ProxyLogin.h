#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The address of a proxy. A plain value.
struct ProxyAddress {
    QString host;
    int port = 0;

    [[nodiscard]] bool operator==(const ProxyAddress& other) const {
        return port == other.port && host.compare(other.host, Qt::CaseInsensitive) == 0;
    }
};

/// User and password of a proxy in clear text, kept for one call only. A plain value.
struct ProxyLogin {
    QString user;
    QString password;

    [[nodiscard]] bool isEmpty() const { return user.isEmpty(); }
};

/// The texts of the prompt for proxy credentials; the library's own replace empty ones. A plain value.
struct ProxyDialogTexts {
    QString caption;
    QString message; ///< "%1" is replaced by the host and "%2" by the port of the proxy.
};

} // namespace Velquor::WebServices::Internal
