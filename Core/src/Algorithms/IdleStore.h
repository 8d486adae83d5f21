#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "Process/Forks.h"

namespace rix::algorithms {

/// Things that are dear to make, kept while nobody uses them. Any thread may call.
template <class T>
class IdleStore {
public:
    /// The one store of the process for these things. Never destroyed, since runs of threads that nobody waits for may
    /// outlast static objects; what is idle when the program or the library ends, ends then.
    template <process::Lock lock>
    static IdleStore& ofProcess() {
        static auto* const store = new IdleStore(process::mutexOf(lock));
        static const struct End {
            ~End() { store->release(); }
        } end;
        return *store;
    }

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

    /// `release` for the thread that holds the lock because it forks.
    void releaseForFork() { m_idle.clear(); }

private:
    explicit IdleStore(std::mutex& mutex) : m_mutex(mutex) { m_idle.reserve(kept); }

    static constexpr std::size_t kept = 16;
    std::mutex& m_mutex;
    std::vector<std::unique_ptr<T>> m_idle;
};

}  // namespace rix::algorithms
