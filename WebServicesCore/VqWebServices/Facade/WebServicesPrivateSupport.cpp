// The operations for support: dumps of this process's state and of the state that the processes share.

#include "Facade/FacadeCall.h"
#include "Runtime/HostProduct.h"
#include "VqUtil/Platform/HostProcess.h"
#include "VqUtil/ProcessState/ProcessState.h"

#include <QJsonDocument>
#include <VqWebServices/WebServicesPrivate.h>

namespace Velquor::WebServices {

using namespace Internal;

bool WebServicesPrivate::IsHostSSOServer() {
    return isSSOServerHost(Util::hostExecutablePath());
}

QByteArray WebServicesPrivate::GetLoginSessionDump() {
    return withSessionAsIs("GetLoginSessionDump", QByteArray(), [](LoginSession& session) {
        return QJsonDocument(session.stateDump()).toJson(QJsonDocument::Compact);
    });
}

QStringList WebServicesPrivate::GetProcessStateDump() {
    return withSessionAsIs("GetProcessStateDump", QStringList(), [](LoginSession&) {
        const auto processState = WebServicesManagerImp::instance().processState();
        return processState ? processState->dump(QStringLiteral("Support")) : QStringList();
    });
}

} // namespace Velquor::WebServices
