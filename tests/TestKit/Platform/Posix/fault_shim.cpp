// Preloaded into a program under test: lets calls to the system fail as they do on a full, broken or forbidden disk. The
// environment variable VQ_FAULT says which, and is looked at for every call: CALL:ERROR:PART, where CALL is open, write,
// short-write, fsync, rename, inotify, socket, getpwuid or getifaddrs, ERROR is ENOSPC, EIO, EACCES or EMFILE, and PART must
// occur in the path of the file, at its end when PART ends with "$". Each fault that it makes it tells on the standard error
// stream.

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <pwd.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

template <typename Function>
Function real(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

int errorNumber(const std::string& name) {
    if (name == "ENOSPC")
        return ENOSPC;
    if (name == "EACCES")
        return EACCES;
    return name == "EMFILE" ? EMFILE : EIO;
}

bool isMeant(const std::string& path, std::string part) {
    if (part.empty() || part.back() != '$')
        return path.find(part) != std::string::npos;
    part.pop_back();
    return path.size() >= part.size() && path.compare(path.size() - part.size(), part.size(), part) == 0;
}

bool strikes(const char* call, const std::string& path) {
    const char* const wish = std::getenv("VQ_FAULT");
    if (!wish || !*wish)
        return false;
    const std::string text = wish;
    const size_t first = text.find(':');
    const size_t second = text.find(':', first + 1);
    if (second == std::string::npos || text.substr(0, first) != call || !isMeant(path, text.substr(second + 1)))
        return false;
    std::fprintf(stderr, "fault: %s of %s\n", call, path.c_str());
    errno = errorNumber(text.substr(first + 1, second - first - 1));
    return true;
}

std::string pathOf(int descriptor) {
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = ::readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

int openOrFail(const char* name, const char* path, int flags, unsigned mode) {
    if (strikes("open", path))
        return -1;
    return real<int (*)(const char*, int, ...)>(name)(path, flags, mode);
}

unsigned modeOf(int flags, va_list arguments) {
    return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned) : 0;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = modeOf(flags, arguments);
    va_end(arguments);
    return openOrFail("open", path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = modeOf(flags, arguments);
    va_end(arguments);
    return openOrFail("open64", path, flags, mode);
}

ssize_t write(int descriptor, const void* data, size_t size) {
    static const auto realWrite = real<ssize_t (*)(int, const void*, size_t)>("write");
    if (descriptor > 2 && strikes("write", pathOf(descriptor)))
        return -1;
    // A disk that has room for one byte more takes it, and refuses the rest.
    if (descriptor > 2 && size > 1 && strikes("short-write", pathOf(descriptor))) {
        const off_t end = ::lseek(descriptor, 0, SEEK_END);
        return end > 0 ? -1 : realWrite(descriptor, data, 1);
    }
    return realWrite(descriptor, data, size);
}

int fsync(int descriptor) {
    return strikes("fsync", pathOf(descriptor)) ? -1 : real<int (*)(int)>("fsync")(descriptor);
}

int rename(const char* from, const char* to) noexcept {
    return strikes("rename", to) ? -1 : real<int (*)(const char*, const char*)>("rename")(from, to);
}

int inotify_init1(int flags) noexcept {
    return strikes("inotify", {}) ? -1 : real<int (*)(int)>("inotify_init1")(flags);
}

int getpwuid_r(uid_t user, struct passwd* entry, char* buffer, size_t size, struct passwd** found) {
    *found = nullptr;
    return strikes("getpwuid", {}) ? errno : real<decltype(&getpwuid_r)>("getpwuid_r")(user, entry, buffer, size, found);
}

int getifaddrs(struct ifaddrs** list) noexcept {
    return strikes("getifaddrs", {}) ? -1 : real<int (*)(struct ifaddrs**)>("getifaddrs")(list);
}

int socket(int domain, int type, int protocol) noexcept {
    return domain == AF_UNIX && strikes("socket", {}) ? -1 : real<int (*)(int, int, int)>("socket")(domain, type, protocol);
}

} // extern "C"
