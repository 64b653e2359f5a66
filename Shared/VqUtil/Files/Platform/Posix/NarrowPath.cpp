#include "VqUtil/Files/NarrowPath.h"

#include <QFile>

namespace Velquor::Util {

QByteArray narrowFolderName(const QString& folder) {
    return QFile::encodeName(folder);
}

} // namespace Velquor::Util
