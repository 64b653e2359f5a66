#pragma once

#include <QThreadStorage>

namespace Velquor::Util {

/// One object for each thread, made from nothing at its first use there and destroyed when the thread ends.
///
/// It stands where `thread_local` would: with MinGW, the memory of such an object is freed before its destructor runs.
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
