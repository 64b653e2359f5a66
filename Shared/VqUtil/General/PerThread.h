#pragma once

#include <QThreadStorage>

namespace Velquor::Util {

/// One object per thread, created at its first use there and destroyed when the thread ends.
///
/// Use it instead of `thread_local`: with MinGW, the memory of a `thread_local` object is freed before its destructor runs.
/// Thread: any. Owner: a variable that is never destroyed, since threads may outlive it.
template <typename T>
class PerThread {
public:
    [[nodiscard]] T& get() {
        if (!m_storage.hasLocalData())
            m_storage.setLocalData(new T);
        return *m_storage.localData();
    }

private:
    QThreadStorage<T*> m_storage;
};

} // namespace Velquor::Util
