#include "Library.h"

#include "Cancellation.h"
#include "CommandLine.h"
#include "Doctor/Checks.h"
#include "Output.h"
#include "Progress.h"
#include "Texts.h"

#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

const auto seeDoctor = QStringLiteral(" \"vqws doctor\" and the log say more.");

// A program trusts a service through its own TLS configuration. TLS errors are never ignored.
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

ExitCode readKeysAndTrust(const Context& context, bool needsProduct, ClientKeys& keys) {
    keys = readClientKeys(context.line);
    if (!keys.error.isEmpty())
        return context.output.fail(ExitCode::Usage, keys.error);
    if (!keys.warning.isEmpty())
        context.output.note(keys.warning);
    if (needsProduct && keys.key.isEmpty())
        return context.output.fail(ExitCode::Usage, QStringLiteral("No consumer key: give --key, or set VQWS_CONSUMER_KEY."));
    if (needsProduct && keys.secret.isEmpty())
        return context.output.fail(ExitCode::Usage,
                                   QStringLiteral("No consumer secret: give --secret-file, or set VQWS_CONSUMER_SECRET."));
    const QString authority = context.line.valueOr(QStringLiteral("ca"), "VQWS_CA");
    if (!authority.isEmpty() && !trustAuthority(authority))
        return context.output.fail(ExitCode::Usage, QStringLiteral("There is no certificate in %1.").arg(authority));
    return ExitCode::Ok;
}

Library::Library(Context& context)
    : m_context(context) {}

Library::~Library() {
    close();
}

ExitCode Library::open(Need need) {
    const ExitCode started = start(need);
    if (started != ExitCode::Ok)
        return started;
    for (const Finding& finding : checkLog()) {
        if (finding.state == Finding::State::Fault)
            m_context.output.note(QStringLiteral("No log is written: %1.").arg(textWithCure(finding)));
    }
    return signOn(need);
}

ExitCode Library::start(Need need) {
    const ExitCode read = readOptions(need);
    if (read != ExitCode::Ok)
        return read;
    const Progress::Wait wait(m_context.progress, QStringLiteral("the login state file"));
    m_isOpen = WebServicesManager::Initialize();
    m_manager = WebServicesManager::GetInstance();
    if (!m_manager)
        return m_context.output.fail(ExitCode::Failed, QStringLiteral("The library could not be started.") + seeDoctor);
    connect(&m_context.cancellation, &Cancellation::cancelled, this, &Library::close);
    if (need != Need::Nothing && WebServicesPrivate::GetLogConfigFile().isEmpty())
        return m_context.output.fail(ExitCode::Failed,
                                     QStringLiteral("The library does not use the network without its log configuration "
                                                    "\"WebServices.logconfig\", which was not found.")
                                         + seeDoctor);
    return ExitCode::Ok;
}

ExitCode Library::readOptions(Need need) {
    const ExitCode read = readKeysAndTrust(m_context, need != Need::Nothing, m_keys);
    if (read != ExitCode::Ok)
        return read;
    const QString folders = m_context.line.valueOr(QStringLiteral("support"), "VQWS_SUPPORT");
    WebServicesManager::SetSupportFileSearchPaths(folders.toStdWString().c_str());
    return ExitCode::Ok;
}

ExitCode Library::signOn(Need need) {
    const ExitCode checked = checkServer(need);
    if (checked != ExitCode::Ok || !hasProduct())
        return checked;
    const Progress::Wait wait(m_context.progress, QStringLiteral("the login state file"));
    if (!registerProduct() || !m_manager->RestoreLogin())
        return fail(QStringLiteral("The login could not be restored.") + seeDoctor);
    if (need == Need::User && !m_manager->IsLoggedIn())
        return m_context.output.fail(ExitCode::NotSignedIn, QStringLiteral("Nobody is signed in. \"vqws login\" signs in."));
    return ExitCode::Ok;
}

// A change of the server signs the user out. So only a login may change it, since it signs the user in afterwards.
ExitCode Library::checkServer(Need need) const {
    const Server current = m_manager->GetServer();
    if (!m_context.line.server() || *m_context.line.server() == current || need == Need::Product)
        return ExitCode::Ok;
    return m_context.output.fail(
        ExitCode::Failed,
        QStringLiteral("The current server is %1. \"vqws login --server %2\" changes it, which signs the user out.")
            .arg(serverText(current), serverText(*m_context.line.server()).toLower()));
}

bool Library::registerProduct() const {
    WebServicesConfiguration configuration;
    configuration.SetConsumerKey(m_keys.key.toStdWString().c_str());
    configuration.SetConsumerSecret(m_keys.secret.toStdWString().c_str());
    configuration.SetOAuth2ConsumerKey(m_keys.oauth2Key.toStdWString().c_str());
    configuration.SetOAuth2ConsumerSecret(m_keys.oauth2Secret.toStdWString().c_str());
    configuration.SetServer(m_context.line.server().value_or(m_manager->GetServer()));
    return m_manager->SetConfiguration(configuration);
}

QString Library::userName() const {
    return bufferText([this](wchar_t* buffer, int size) { return m_manager->GetLoginUserName(buffer, size); });
}

QString Library::userId() const {
    return bufferText([this](wchar_t* buffer, int size) { return m_manager->GetUserId(buffer, size); });
}

QString Library::accessToken() const {
    const Progress::Wait wait(m_context.progress, QStringLiteral("the access token"));
    return bufferText([this](wchar_t* buffer, int size) { return m_manager->GetAccessToken(buffer, size); });
}

QString Library::signedRequest(const QString& url, HttpMethod method, ParsingMode mode) const {
    const Progress::Wait wait(m_context.progress, QStringLiteral("the signature"));
    return takeText(m_manager->SignRequest(url.toStdWString().c_str(), nullptr, 0, method, mode, nullptr, nullptr));
}

ExitCode Library::fail(const QString& text) const {
    if (!m_context.cancellation.isRequested())
        return m_context.output.fail(ExitCode::Failed, text);
    const QString reason = m_context.cancellation.reason();
    return m_context.output.fail(ExitCode::Cancelled, reason.left(1).toUpper() + reason.mid(1) + QLatin1Char('.'));
}

void Library::close() {
    if (m_isOpen)
        WebServicesManager::Uninitialize();
    m_isOpen = false;
}

} // namespace Vqws
