// Usage: qt-host FOLDER URL

#include "Product.h"

#include <QCoreApplication>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <cstdio>

using namespace Velquor::WebServices;

// [trust]
// The account service for development has its own certificate authority. TLS errors are never ignored.
static bool trust(const QString& authority) {
    const QList<QSslCertificate> certificates = QSslCertificate::fromPath(authority);
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(configuration.caCertificates() + certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return !certificates.isEmpty();
}
// [/trust]

// [main]
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3 || !trust(arguments[1] + QStringLiteral("/ca.pem"))) {
        std::fputs("usage: qt-host FOLDER URL\n", stderr);
        return 2;
    }
    WebServicesManager::SetSupportFileSearchPaths(arguments[1].toStdWString().c_str());
    WebServicesManager::Initialize();
    int status = 1;
    {
        Product product{QUrl(arguments[2])};
        if (product.start())
            status = QCoreApplication::exec();
    }
    WebServicesManager::Uninitialize();
    if (status != 0)
        std::fputs("It failed; \"WebServices.log\" says why.\n", stderr);
    return status;
}
// [/main]
