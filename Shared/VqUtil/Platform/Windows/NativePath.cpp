#include "VqUtil/Platform/Windows/NativePath.h"

#include <QDir>

namespace Velquor::Util {

namespace {
// The system refuses a folder whose path leaves no space for a short file name of 12 characters.
constexpr int longestPlainPath = 260 - 13;
} // namespace

std::wstring nativePath(const QString& path) {
    QString native = QDir::toNativeSeparators(QDir::cleanPath(QDir(path).absolutePath()));
    if (native.size() > longestPlainPath && !native.startsWith(QLatin1String("\\\\?\\"))) {
        native = native.startsWith(QLatin1String("\\\\")) ? QStringLiteral("\\\\?\\UNC") + native.mid(1)
                                                          : QStringLiteral("\\\\?\\") + native;
    }
    return native.toStdWString();
}

} // namespace Velquor::Util
