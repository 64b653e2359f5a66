#include "Commands/Commands.h"
#include "Commands/StateObjects.h"
#include "Library.h"
#include "Output.h"
#include "Texts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <VqWebServices/WebServicesPrivate.h>

using namespace Velquor::WebServices;

namespace Vqws {

namespace {

QJsonObject filesObject(WebServicesManager& manager) {
    return {{QStringLiteral("LoginStateFile"),
             bufferText([&](wchar_t* buffer, int size) { return manager.GetLoginStateFile(buffer, size); })},
            {QStringLiteral("LogFile"), WebServicesPrivate::GetLogFile()},
            {QStringLiteral("LogConfiguration"), WebServicesPrivate::GetLogConfigFile()},
            {QStringLiteral("SupportFolders"), bufferText(&WebServicesManager::GetSupportFileSearchPaths)}};
}

QJsonObject overridesObject() {
    const QMap<QString, QString> overrides = WebServicesPrivate::GetUrlOverrides();
    QJsonObject object;
    for (auto entry = overrides.cbegin(); entry != overrides.cend(); ++entry)
        object.insert(entry.key(), entry.value());
    return object;
}

} // namespace

QJsonObject dumpObject(const Library& library) {
    QJsonObject state = QJsonDocument::fromJson(WebServicesPrivate::GetLoginSessionDump()).object();
    state.insert(QStringLiteral("Version"), QStringLiteral(VQWS_VERSION));
    state.insert(QStringLiteral("CurrentServer"), serverText(library.manager().GetServer()));
    state.insert(QStringLiteral("SignedInAs"), library.userName());
    state.insert(QStringLiteral("Files"), filesObject(library.manager()));
    state.insert(QStringLiteral("UrlOverrides"), overridesObject());
    return state;
}

ExitCode runDump(Context& context) {
    Library library(context);
    const ExitCode opened = library.open(Library::Need::Nothing);
    if (opened != ExitCode::Ok)
        return opened;
    QJsonObject state = dumpObject(library);
    const QStringList processes = WebServicesPrivate::GetProcessStateDump();
    context.output.bytes(QJsonDocument(state).toJson(QJsonDocument::Indented));
    for (const QString& line : processes)
        context.output.line(line);
    state.insert(QStringLiteral("ProcessState"), QJsonArray::fromStringList(processes));
    context.output.object(state);
    return ExitCode::Ok;
}

} // namespace Vqws
