#pragma once

#include "VqUtil/Crypto/ICryptor.h"

#include <QByteArray>
#include <QDomElement>
#include <QNetworkProxy>
#include <QString>

namespace Velquor::WebServices::Internal {

/// The element "ProxySettings" of the login state file. Thread: that of the document. Errors: false.
namespace ProxySettingsXml {

/// Whether the file can hold these so that they come back the same, and they make a proxy.
[[nodiscard]] bool isValid(const QString& host, int port, const QString& user);

/// Fills in what the element under the document element says; a password that cannot be decrypted is empty. False, with `proxy`
/// unchanged, when type, host, port or user is not valid, or there is no such element.
[[nodiscard]] bool read(const QDomElement& root, Util::ICryptor& cryptor, QNetworkProxy& proxy);

/// Creates or changes the element; `password` is encrypted already.
void write(QDomElement& root, const QNetworkProxy& proxy, const QByteArray& password);

void remove(QDomElement& root);

[[nodiscard]] bool isIn(const QDomElement& root);

} // namespace ProxySettingsXml

} // namespace Velquor::WebServices::Internal
