#include "VqUtil/Files/NarrowPath.h"

#include "VqUtil/Platform/Windows/NativePath.h"
#include "VqUtil/Platform/Windows/WindowsApi.h"

#include <QDir>
#include <vector>

namespace Velquor::Util {

namespace {

bool hasNarrowForm(const QString& name) {
    return QString::fromLocal8Bit(name.toLocal8Bit()) == name;
}

// Empty when the folder is not there.
QString shortName(const QString& folder) {
    const std::wstring name = nativePath(folder);
    std::vector<wchar_t> buffer(::GetShortPathNameW(name.c_str(), nullptr, 0));
    const DWORD length = buffer.empty() ? 0 : ::GetShortPathNameW(name.c_str(), buffer.data(), static_cast<DWORD>(buffer.size()));
    return length < buffer.size() ? QDir::fromNativeSeparators(QString::fromWCharArray(buffer.data(), static_cast<int>(length)))
                                  : QString();
}

} // namespace

QByteArray narrowFolderName(const QString& folder) {
    const QString name = hasNarrowForm(folder) ? QString() : shortName(folder);
    return (name.isEmpty() ? folder : name).toLocal8Bit();
}

} // namespace Velquor::Util
