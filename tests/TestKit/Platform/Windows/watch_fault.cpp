// Linked into a program under test in the place of the system's call: with VQ_FAULT=watch in the environment no folder can be
// watched. Each fault that it makes it tells on the standard error stream.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <windows.h>

namespace {

using Watch = decltype(&::ReadDirectoryChangesW);

bool strikes() {
    const char* const wish = std::getenv("VQ_FAULT");
    return wish && std::strcmp(wish, "watch") == 0;
}

} // namespace

extern "C" {

// The linker's option --wrap gives both names: the system's call, and what the program calls.
extern Watch __real___imp_ReadDirectoryChangesW;

static BOOL WINAPI watchOrFail(HANDLE folder, LPVOID buffer, DWORD size, BOOL withSubfolders, DWORD filter, LPDWORD length,
                               LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE completed) {
    if (!strikes())
        return __real___imp_ReadDirectoryChangesW(folder, buffer, size, withSubfolders, filter, length, overlapped, completed);
    std::fprintf(stderr, "fault: watch\n");
    ::SetLastError(ERROR_TOO_MANY_OPEN_FILES);
    return FALSE;
}

extern Watch __wrap___imp_ReadDirectoryChangesW;
Watch __wrap___imp_ReadDirectoryChangesW = &watchOrFail;
}
