#include "Values/ServerName.h"

namespace Velquor::WebServices::Internal {

QString serverName(int server) {
    switch (server) {
    case NoServer: return QStringLiteral("NoServer");
    case Production: return QStringLiteral("Production");
    case Staging: return QStringLiteral("Staging");
    case Development: return QStringLiteral("Development");
    default: return QStringLiteral("Unknown");
    }
}

bool isRealServer(int server) {
    return server >= Production && server <= Development;
}

} // namespace Velquor::WebServices::Internal
