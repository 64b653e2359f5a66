#include "CommandReader.h"
#include "Product.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <cstdio>

namespace {

// A product trusts a service through its own TLS configuration. TLS errors are never ignored.
bool trustAuthority(const QString& file) {
    // Not fromPath(), which searches whole folders when the file does not exist.
    QFile source(file);
    const QList<QSslCertificate> certificates =
        source.open(QIODevice::ReadOnly) ? QSslCertificate::fromDevice(&source) : QList<QSslCertificate>();
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(configuration.caCertificates() + certificates);
    QSslConfiguration::setDefaultConfiguration(configuration);
    return !certificates.isEmpty();
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "A product that signs in through the web services library.\n\nCommands on the standard input, one a line: status, "
        "initiate-login, complete-login [COOKIES.json], get URL, post URL NAME=VALUE..., sign-url URL, "
        "initiate-logout, complete-logout, logout, veto [off], quit."));
    parser.addHelpOption();
    parser.addOptions(
        {{QStringLiteral("key"), QStringLiteral("Consumer key."), QStringLiteral("key"), QStringLiteral("demo-product-0001")},
         {QStringLiteral("secret"), QStringLiteral("Consumer secret."), QStringLiteral("secret"),
          QStringLiteral("demo-secret-0001")},
         {QStringLiteral("support"), QStringLiteral("Folder of the URL configuration files."), QStringLiteral("folder")},
         {QStringLiteral("ca"), QStringLiteral("Certificate authority to trust (PEM)."), QStringLiteral("file")}});
    parser.process(application);
    if (parser.isSet(QStringLiteral("ca")) && !trustAuthority(parser.value(QStringLiteral("ca")))) {
        std::fputs("sample-product: no certificate found in the file given with --ca\n", stderr);
        return 2;
    }
    Product product(
        {parser.value(QStringLiteral("key")), parser.value(QStringLiteral("secret")), parser.value(QStringLiteral("support"))});
    if (!product.start()) {
        std::fputs("sample-product: the library could not be started, see its log\n", stderr);
        return 1;
    }
    CommandReader reader;
    QObject::connect(&reader, &CommandReader::lineRead, &product, &Product::enqueue);
    QObject::connect(&reader, &CommandReader::ended, &application, &QCoreApplication::quit);
    QObject::connect(&product, &Product::finished, &application, &QCoreApplication::quit, Qt::QueuedConnection);
    reader.start();
    return QCoreApplication::exec();
}
