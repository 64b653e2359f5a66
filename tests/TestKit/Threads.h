#pragma once

#include <thread>
#include <vector>

namespace Velquor::TestKit {

/// Threads that do the same work at once; each gets its number. They have ended after `join()`, and when this object goes.
/// Thread: the test's. Owner: the test.
class Threads {
public:
    template <typename Work>
    Threads(int count, const Work& work) {
        for (int number = 0; number < count; ++number)
            m_threads.emplace_back(work, number);
    }
    ~Threads() { join(); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

    void join() {
        for (std::thread& thread : m_threads)
            thread.join();
        m_threads.clear();
    }

private:
    std::vector<std::thread> m_threads;
};

} // namespace Velquor::TestKit
