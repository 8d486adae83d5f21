#include "ThreadLimiter.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/task_arena.h>

namespace rix::algorithms {

struct LimitedArena {
    LimitedArena(int threads, int sign)
        : arenaThreads(threads),
          prioritySign(sign),
          arena(threads, 1,
                sign > 0   ? tbb::task_arena::priority::high
                : sign < 0 ? tbb::task_arena::priority::low
                           : tbb::task_arena::priority::normal) {}

    int arenaThreads;
    int prioritySign;
    tbb::task_arena arena;
};

namespace {

/// The arenas that no run holds.
class ArenaStore {
public:
    std::unique_ptr<LimitedArena> take(int threads, int sign) {
        {
            const std::lock_guard lock(m_mutex);
            const auto found = std::find_if(m_free.begin(), m_free.end(), [&](const auto& arena) {
                return arena->arenaThreads == threads && arena->prioritySign == sign;
            });
            if (found != m_free.end()) {
                std::unique_ptr<LimitedArena> arena = std::move(*found);
                m_free.erase(found);
                return arena;
            }
        }
        return std::make_unique<LimitedArena>(threads, sign);
    }

    void give(std::unique_ptr<LimitedArena> arena) noexcept {
        const std::lock_guard lock(m_mutex);
        if (m_free.size() < kept) {
            m_free.push_back(std::move(arena));  // within the capacity reserved below: cannot throw
        }
    }

    void release() {
        const std::lock_guard lock(m_mutex);
        m_free.clear();
    }

    void lockForFork() {
        m_mutex.lock();
        m_free.clear();
    }
    void unlockAfterFork() { m_mutex.unlock(); }

    ArenaStore() { m_free.reserve(kept); }

private:
    static constexpr std::size_t kept = 16;
    std::mutex m_mutex;
    std::vector<std::unique_ptr<LimitedArena>> m_free;
};

ArenaStore& arenaStore() {
    static ArenaStore store;
    return store;
}

/// The threads that oneTBB has to give: an arena of more would get no more, and oneTBB would complain aloud.
int availableThreads() {
    return std::max(1,
                    static_cast<int>(tbb::global_control::active_value(tbb::global_control::max_allowed_parallelism)));
}

int signOf(int value) {
    return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0);
}

}  // namespace

ThreadLimiter::ThreadLimiter(int maximumThreads, int priority)
    : m_limit(maximumThreads > 0 ? std::min(maximumThreads, availableThreads()) : -1) {
    const bool limited = m_limit > 1;
    if (limited || (priority != 0 && m_limit != 1)) {
        m_arena = arenaStore().take(limited ? m_limit : availableThreads(), signOf(priority));
    }
}

ThreadLimiter::~ThreadLimiter() {
    if (m_arena != nullptr) {
        arenaStore().give(std::move(m_arena));
    }
}

void ThreadLimiter::execute(access::FunctionRef<void()> work) const {
    if (m_arena != nullptr) {
        m_arena->arena.execute([work] { work(); });
    } else {
        work();
    }
}

std::size_t ThreadLimiter::threads() const {
    if (m_limit == 1) {
        return 1;
    }
    return m_limit > 1 ? static_cast<std::size_t>(m_limit)
                       : static_cast<std::size_t>(std::max(1, tbb::this_task_arena::max_concurrency()));
}

std::size_t ThreadLimiter::defaultThreads() {
    static const auto threads = static_cast<std::size_t>(std::max(1, tbb::info::default_concurrency()));
    return threads;
}

void ThreadLimiter::releaseArenas() {
    arenaStore().release();
}

void ThreadLimiter::lockForFork() {
    arenaStore().lockForFork();
}

void ThreadLimiter::unlockAfterFork() {
    arenaStore().unlockAfterFork();
}

}  // namespace rix::algorithms
