#include "Language.h"
#include "MainWindow.h"
#include "Product.h"
#include "TestInterface.h"
#include "Theme.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDesktopServices>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QUrl>
#include <cstdio>

namespace {

const auto testOption = QStringLiteral("test-interface");

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

void describe(QCommandLineParser& parser) {
    parser.setApplicationDescription(QStringLiteral("A desktop product that shares its signed-in user with all others."));
    parser.addHelpOption();
    parser.addOptions(
        {{QStringLiteral("key"), QStringLiteral("Consumer key."), QStringLiteral("key"), QStringLiteral("demo-product-0001")},
         {QStringLiteral("secret"), QStringLiteral("Consumer secret."), QStringLiteral("secret"),
          QStringLiteral("demo-secret-0001")},
         {QStringLiteral("product"), QStringLiteral("Name of the product in the window."), QStringLiteral("name"),
          QStringLiteral("Demo Product")},
         {QStringLiteral("support"), QStringLiteral("Folder of the URL configuration files."), QStringLiteral("folder")},
         {QStringLiteral("ca"), QStringLiteral("Certificate authority to trust (PEM)."), QStringLiteral("file")},
         {QStringLiteral("language"), QStringLiteral("Language of the window, whatever the system has."), QStringLiteral("code")},
         {QStringLiteral("light"), QStringLiteral("Light palette, whatever the system has.")},
         {QStringLiteral("dark"), QStringLiteral("Dark palette, whatever the system has.")},
         {testOption, QStringLiteral("For tests: commands on the standard input, and no browser is opened.")}});
}

Theme themeOf(const QCommandLineParser& parser) {
    if (parser.isSet(QStringLiteral("dark")))
        return Theme::Dark;
    return parser.isSet(QStringLiteral("light")) ? Theme::Light : Theme::System;
}

bool openInBrowser(const QString& address) {
    return QDesktopServices::openUrl(QUrl(address));
}

bool tellTest(const QString& address) {
    TestInterface::tellAddress(address);
    return true;
}

} // namespace

int main(int argc, char** argv) {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0) // Always so in Qt 6.
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
#endif
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    const QApplication application(argc, argv);
    QCommandLineParser parser;
    describe(parser);
    parser.process(application);
    applyTheme(themeOf(parser));
    applyLanguage(parser.value(QStringLiteral("language")));
    if (parser.isSet(QStringLiteral("ca")) && !trustAuthority(parser.value(QStringLiteral("ca")))) {
        std::fputs("desktop-product: no certificate found in the file given with --ca\n", stderr);
        return 2;
    }
    Product product(
        {{parser.value(QStringLiteral("key")), parser.value(QStringLiteral("secret"))}, parser.value(QStringLiteral("support"))});
    const bool isTest = parser.isSet(testOption);
    MainWindow window(product, parser.value(QStringLiteral("product")), isTest ? &tellTest : &openInBrowser);
    TestInterface test(window);
    if (isTest)
        test.start();
    window.show();
    product.start();
    return QApplication::exec();
}
