#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace rix::algorithms {

/// Things that are dear to make, kept while nobody uses them. Any thread may call.
template <class T>
class IdleStore {
public:
    IdleStore() { m_idle.reserve(kept); }

    /// One that fits, the last given first; null when there is none.
    template <class Fits>
    std::unique_ptr<T> take(Fits fits) {
        const std::lock_guard lock(m_mutex);
        const auto found =
            std::find_if(m_idle.rbegin(), m_idle.rend(), [&](const std::unique_ptr<T>& one) { return fits(*one); });
        if (found == m_idle.rend()) {
            return nullptr;
        }
        std::unique_ptr<T> one = std::move(*found);
        m_idle.erase(std::next(found).base());
        return one;
    }

    /// Keeps it, or ends it when there are enough.
    void give(std::unique_ptr<T> one) noexcept {
        const std::lock_guard lock(m_mutex);
        if (m_idle.size() < kept) {
            m_idle.push_back(std::move(one));  // within the capacity reserved above: cannot throw
        }
    }

    void release() {
        const std::lock_guard lock(m_mutex);
        m_idle.clear();
    }

    /// Between these nothing is taken or given, and nothing is kept: the process forks.
    void lockForFork() {
        m_mutex.lock();
        m_idle.clear();
    }
    void unlockAfterFork() { m_mutex.unlock(); }

private:
    static constexpr std::size_t kept = 16;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<T>> m_idle;
};

}  // namespace rix::algorithms
