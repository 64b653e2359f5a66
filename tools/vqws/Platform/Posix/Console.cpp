#include "Platform/Console.h"

#include <cerrno>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Vqws::Console {

namespace {

constexpr int usualWidth = 80;

int outputDescriptor = STDOUT_FILENO;

int descriptorOf(Stream stream) {
    return stream == Stream::Output ? outputDescriptor : STDERR_FILENO;
}

} // namespace

void takeStandardOutput() {
    std::fflush(stdout);
    const int copy = ::dup(STDOUT_FILENO);
    if (copy >= 0 && ::dup2(STDERR_FILENO, STDOUT_FILENO) >= 0)
        outputDescriptor = copy;
}

void write(Stream stream, const QByteArray& text) {
    qint64 done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(descriptorOf(stream), text.constData() + done, static_cast<size_t>(text.size() - done));
        if (count < 0 && errno != EINTR)
            return;
        done += count > 0 ? count : 0;
    }
}

int width(Stream stream) {
    if (::isatty(descriptorOf(stream)) == 0)
        return 0;
    struct winsize size {};
    return ::ioctl(descriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

} // namespace Vqws::Console
