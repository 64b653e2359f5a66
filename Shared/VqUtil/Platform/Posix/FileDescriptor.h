#pragma once

#include <unistd.h>

namespace Velquor::Util {

/// Owns a file descriptor and closes it. Thread: one.
class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor = -1)
        : m_descriptor(descriptor) {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] bool isValid() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }

    void reset(int descriptor = -1) {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = descriptor;
    }

private:
    int m_descriptor;
};

} // namespace Velquor::Util
