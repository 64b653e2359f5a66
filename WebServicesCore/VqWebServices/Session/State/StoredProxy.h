#pragma once

#include <QByteArray>
#include <QString>

namespace Velquor::WebServices::Internal {

/// The proxy credentials as the login state file holds them. The password is encrypted. A plain value.
struct StoredProxy {
    int type = 0; ///< A number of `QNetworkProxy::ProxyType`.
    QString host;
    int port = 0;
    QString user;
    QByteArray password;

    /// Whether a proxy can be set from it: a type that takes credentials, a port in range, and texts that the file can hold
    /// unchanged.
    [[nodiscard]] bool isValid() const;
    [[nodiscard]] bool operator!=(const StoredProxy& other) const;
};

} // namespace Velquor::WebServices::Internal
