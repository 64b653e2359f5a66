#pragma once

#include "VqUtil/Crypto/ICryptor.h"

#include <QByteArray>
#include <QDomElement>
#include <QNetworkProxy>
#include <QString>
#include <optional>

namespace Velquor::WebServices::Internal {

/// The element "ProxySettings" of the login state file. Thread: that of the document. Errors: an empty result.
namespace ProxySettingsXml {

/// Whether the file can hold these texts unchanged, and whether they name a proxy.
[[nodiscard]] bool isValid(const QString& host, int port, const QString& user);

/// The proxy that the element below the document element describes; what it does not describe is as in `proxy`. A password that
/// cannot be decrypted is empty. None when type, host, port or user is not valid, or there is no such element.
[[nodiscard]] std::optional<QNetworkProxy> read(const QDomElement& root, Util::ICryptor& cryptor, QNetworkProxy proxy = {});

/// Creates or changes the element; `password` is encrypted already.
void write(QDomElement& root, const QNetworkProxy& proxy, const QByteArray& password);

void remove(QDomElement& root);

[[nodiscard]] bool isIn(const QDomElement& root);

} // namespace ProxySettingsXml

} // namespace Velquor::WebServices::Internal
