#include "Platform/Console.h"

#include <QString>
#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace Vqws::Console {

namespace {

// Some consoles refuse longer writes.
constexpr int mostUnits = 8000;

int outputDescriptor = 1;

HANDLE handleOf(Stream stream) {
    return reinterpret_cast<HANDLE>(::_get_osfhandle(stream == Stream::Output ? outputDescriptor : 2));
}

bool isConsole(HANDLE handle) {
    DWORD mode = 0;
    return ::GetConsoleMode(handle, &mode) != 0;
}

void writeToConsole(HANDLE handle, const std::wstring& text) {
    for (size_t done = 0; done < text.size(); done += mostUnits) {
        const auto count = static_cast<DWORD>(std::min<size_t>(mostUnits, text.size() - done));
        DWORD written = 0;
        ::WriteConsoleW(handle, text.data() + done, count, &written, nullptr);
    }
}

void writeToFile(HANDLE handle, const QByteArray& text) {
    DWORD written = 0;
    for (int done = 0; done < text.size(); done += static_cast<int>(written)) {
        if (!::WriteFile(handle, text.constData() + done, static_cast<DWORD>(text.size() - done), &written, nullptr)
            || written == 0)
            return;
    }
}

} // namespace

void takeStandardOutput() {
    std::fflush(stdout);
    const int copy = ::_dup(1);
    if (copy >= 0 && ::_dup2(2, 1) == 0)
        outputDescriptor = copy;
}

void write(Stream stream, const QByteArray& text) {
    const HANDLE handle = handleOf(stream);
    if (isConsole(handle))
        writeToConsole(handle, QString::fromUtf8(text).toStdWString());
    else
        writeToFile(handle, text);
}

int width(Stream stream) {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    return ::GetConsoleScreenBufferInfo(handleOf(stream), &info) ? info.srWindow.Right - info.srWindow.Left + 1 : 0;
}

} // namespace Vqws::Console
