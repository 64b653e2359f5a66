#include "CommandLine.h"
#include "Commands/Commands.h"
#include "Commands/StateObjects.h"
#include "Doctor/Examination.h"
#include "Library.h"
#include "Output.h"

#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <QSslSocket>
#include <QSysInfo>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

// Bytes: some days of a product at the usual level.
constexpr qint64 longestLogPart = 256LL * 1024;

struct Section {
    QString title;
    QByteArray text;
};

QByteArray textOf(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

QByteArray versions() {
    return QStringLiteral("vqws %1\nQt %2\nTLS library: %3\nSystem: %4, %5, kernel %6 %7\nLanguage: %8\n")
        .arg(QStringLiteral(VQWS_VERSION), QString::fromLatin1(qVersion()), QSslSocket::sslLibraryVersionString(),
             QSysInfo::prettyProductName(), QSysInfo::currentCpuArchitecture(), QSysInfo::kernelType(), QSysInfo::kernelVersion(),
             QLocale::system().name())
        .toUtf8();
}

QByteArray checks(const Findings& findings) {
    QString text;
    for (const Finding& finding : findings) {
        text +=
            QStringLiteral("%1 %2: %3\n").arg(stateText(finding.state).leftJustified(8), finding.check, textWithCure(finding));
    }
    return text.toUtf8();
}

// From the beginning of a line.
QByteArray endOfLog() {
    QFile file(WebServicesPrivate::GetLogFile());
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1 cannot be read: %2\n").arg(file.fileName(), file.errorString()).toUtf8();
    const bool isCut = file.seek(qMax(0LL, file.size() - longestLogPart)) && file.pos() > 0;
    const QByteArray text = file.read(longestLogPart);
    return isCut ? text.mid(text.indexOf('\n') + 1) : text;
}

QVector<Section> sections(const Library& library, const Findings& findings) {
    return {{QStringLiteral("Versions"), versions()},
            {QStringLiteral("Checks of \"vqws doctor\""), checks(findings)},
            {QStringLiteral("Status"), textOf(statusObject(library))},
            {QStringLiteral("Login session"), textOf(dumpObject(library))},
            {QStringLiteral("Processes"), WebServicesPrivate::GetProcessStateDump().join(QLatin1Char('\n')).toUtf8() + '\n'},
            {QStringLiteral("End of the log"), endOfLog()}};
}

bool write(QFile& file, const QVector<Section>& parts) {
    QByteArray text = QStringLiteral("Report of %1 UTC\n")
                          .arg(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")))
                          .toUtf8();
    for (const Section& part : parts)
        text += "\n== " + part.title.toUtf8() + " ==\n\n" + part.text;
    return file.open(QIODevice::WriteOnly | QIODevice::NewOnly)
           && file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) && file.write(text) == text.size()
           && file.flush();
}

QStringList titles(const QVector<Section>& parts) {
    QStringList found;
    for (const Section& part : parts)
        found += part.title;
    return found;
}

} // namespace

ExitCode runReport(Context& context) {
    QFile file(context.line.arguments().first());
    if (file.exists())
        return context.output.fail(ExitCode::Usage, QStringLiteral("%1 exists already.").arg(file.fileName()));
    Examination examination(context);
    Library library(context);
    const ExitCode examined = examination.startAndExamine(library);
    if (examined != ExitCode::Ok)
        return examined;
    const QVector<Section> parts = sections(library, examination.findings());
    context.output.note(
        QStringLiteral("The report contains: %1. It has names of the user, of programs and of folders, and no secrets.")
            .arg(titles(parts).join(QStringLiteral(", "))));
    if (!write(file, parts))
        return library.fail(QStringLiteral("%1 cannot be written: %2.").arg(file.fileName(), file.errorString()));
    context.output.line(QStringLiteral("Written to %1.").arg(file.fileName()));
    context.output.object({{QStringLiteral("file"), file.fileName()},
                           {QStringLiteral("bytes"), file.size()},
                           {QStringLiteral("parts"), QJsonArray::fromStringList(titles(parts))}});
    return ExitCode::Ok;
}

} // namespace Vqws
