#include "Cancellation.h"
#include "Commands/Commands.h"
#include "Library.h"
#include "Output.h"
#include "Texts.h"

#include <QEventLoop>
#include <VqWebServices/IWebServicesObserver3.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

constexpr int eventWidth = 24;
constexpr int originWidth = 9;

/// Prints the events of the library. Thread: the main thread. Owner: runWatch.
class EventPrinter final : public IWebServicesObserver3 {
public:
    EventPrinter(const Output& output, const Library& library)
        : m_output(output)
        , m_library(library) {}

    /// Set while the program makes a call of its own, which causes the events that arrive now.
    void setOwn(bool isOwn) { m_isOwn = isOwn; }

    void LoggedIn() override { print("LoggedIn", nullptr, m_library.userName()); }
    void LoginRestored() override { print("LoginRestored", nullptr, m_library.userName()); }
    void AboutToLogout(bool&) override { print("AboutToLogout"); }
    void LoggingOut() override { print("LoggingOut"); }
    void LoggedOut() override { print("LoggedOut"); }
    void ServerChanged(const wchar_t* key) override { print("ServerChanged", key, serverText(m_library.manager().GetServer())); }
    void TokenRefreshed(const wchar_t* key) override { print("TokenRefreshed", key); }
    void TokenAcquired(const wchar_t* key) override { print("TokenAcquired", key); }
    void TokenAvailable(const wchar_t* key) override { print("TokenAvailable", key); }
    void TokenQueryFailed(const wchar_t* key) override { print("TokenQueryFailed", key); }
    void OAuth2Enabled(const wchar_t* key) override { print("OAuth2Enabled", key); }
    void OAuth2Disabled(const wchar_t* key) override { print("OAuth2Disabled", key); }
    void OAuth2TokenAcquired(const wchar_t* key) override { print("OAuth2TokenAcquired", key); }
    void OAuth2TokenAvailable(const wchar_t* key) override { print("OAuth2TokenAvailable", key); }
    void OAuth2TokenRefreshed(const wchar_t* key) override { print("OAuth2TokenRefreshed", key); }
    void OAuth2TokenDiscarded(const wchar_t* key) override { print("OAuth2TokenDiscarded", key); }
    void OAuth2TokenQueryFailed(const wchar_t* key) override { print("OAuth2TokenQueryFailed", key); }

private:
    void print(const char* event, const wchar_t* key = nullptr, const QString& detail = {}) const {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        const QString origin = m_isOwn ? QStringLiteral("vqws") : QStringLiteral("outside");
        const QString product = key ? shortKey(QString::fromWCharArray(key)) : QString();
        const QString about = product.isEmpty() ? detail : QStringLiteral("product %1 %2").arg(product, detail);
        m_output.line((now.toString(Qt::ISODateWithMs) + QLatin1Char(' ') + QString::fromLatin1(event).leftJustified(eventWidth)
                       + origin.leftJustified(originWidth) + about)
                          .trimmed());
        m_output.object({{QStringLiteral("time"), now.toString(Qt::ISODateWithMs)},
                         {QStringLiteral("event"), QString::fromLatin1(event)},
                         {QStringLiteral("origin"), origin},
                         {QStringLiteral("product"), known(product)},
                         {QStringLiteral("detail"), known(detail)}});
    }

    const Output& m_output;
    const Library& m_library;
    bool m_isOwn = false;
};

} // namespace

ExitCode runWatch(Context& context) {
    Library library(context);
    EventPrinter printer(context.output, library);
    ExitCode code = library.start(Library::Need::Product);
    if (code != ExitCode::Ok)
        return code;
    library.manager().AddObserver(&printer);
    printer.setOwn(true);
    code = library.signOn(Library::Need::Nothing);
    printer.setOwn(false);
    if (code == ExitCode::Ok && !context.cancellation.isRequested()) {
        context.output.note(QStringLiteral("Watching; Ctrl-C ends it."));
        QEventLoop loop;
        QObject::connect(&context.cancellation, &Cancellation::cancelled, &loop, &QEventLoop::quit);
        loop.exec();
    }
    library.manager().RemoveObserver(&printer);
    return code;
}

} // namespace Vqws
