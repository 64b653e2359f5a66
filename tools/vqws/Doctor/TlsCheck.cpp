#include "Doctor/Checks.h"

#include <QSslSocket>

namespace Vqws {

namespace {

const auto name = QStringLiteral("TLS library");

QString majorOf(const QString& version) {
    return version.section(QLatin1Char(' '), 1, 1).section(QLatin1Char('.'), 0, 0);
}

} // namespace

Findings checkTls() {
    const QString wanted = QSslSocket::sslLibraryBuildVersionString();
    const QString loaded = QSslSocket::sslLibraryVersionString();
    if (!QSslSocket::supportsSsl())
        return {fault(name, QStringLiteral("no TLS library can be loaded; Qt was built for %1").arg(wanted),
                      act(QStringLiteral(
                          "whoever installed the product must install the crypto and the TLS library of that version next to the "
                          "web services library")))};
    if (majorOf(wanted) != majorOf(loaded))
        return {warning(name, QStringLiteral("%1 is loaded, but Qt was built for %2").arg(loaded, wanted),
                        act(QStringLiteral(
                            "whoever installed the product must install the libraries of the version that Qt was built for")))};
    return {ok(name, loaded)};
}

} // namespace Vqws
