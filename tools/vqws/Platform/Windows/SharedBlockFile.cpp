#include "Platform/SharedBlockFile.h"

namespace Vqws {

QString sharedBlockFile(const QString&) {
    return {};
}

// The key is in a key container of the system.
QString userKeyFile(const QString&) {
    return {};
}

QString ignoredDataFolder() {
    return {};
}

} // namespace Vqws
