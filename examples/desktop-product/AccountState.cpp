#include "AccountState.h"

#include <QCoreApplication>

using namespace Velquor::WebServices;

QString serverName(Server server) {
    switch (server) {
    case Production: return QCoreApplication::translate("Product", "Production");
    case Staging: return QCoreApplication::translate("Product", "Staging");
    case Development: return QCoreApplication::translate("Product", "Development");
    case NoServer: break;
    }
    return QCoreApplication::translate("Product", "no server");
}
