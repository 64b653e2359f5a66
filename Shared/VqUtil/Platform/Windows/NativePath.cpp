#include "VqUtil/Platform/Windows/NativePath.h"

#include <QDir>

namespace Velquor::Util {

namespace {
// A folder must leave room for a file name of the old form behind it.
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
