#pragma once

#include <QString>

namespace Velquor::WebServices::Internal {

/// The proxy that asks. A plain value.
struct ProxyAddress {
    QString host;
    int port = 0;

    [[nodiscard]] bool operator==(const ProxyAddress& other) const {
        return port == other.port && host.compare(other.host, Qt::CaseInsensitive) == 0;
    }
};

/// A user of a proxy, with the password in clear text: for the length of one call only. A plain value.
struct ProxyLogin {
    QString user;
    QString password;

    [[nodiscard]] bool isEmpty() const { return user.isEmpty(); }
};

/// What the prompt for proxy credentials says; empty texts stand for the library's own. A plain value.
struct ProxyDialogTexts {
    QString caption;
    QString message; ///< "%1" stands for the host and "%2" for the port of the proxy.
};

} // namespace Velquor::WebServices::Internal
