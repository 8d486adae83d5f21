#include "ThreadLimiter.h"

#include <algorithm>
#include <utility>

#include <tbb/global_control.h>
#include <tbb/info.h>
#include <tbb/task_arena.h>

#include "IdleStore.h"

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
IdleStore<LimitedArena>& idleArenas() {
    return IdleStore<LimitedArena>::ofProcess<process::Lock::Arenas>();
}

std::unique_ptr<LimitedArena> takeArena(int threads, int sign) {
    std::unique_ptr<LimitedArena> arena = idleArenas().take(
        [=](const LimitedArena& idle) { return idle.arenaThreads == threads && idle.prioritySign == sign; });
    return arena != nullptr ? std::move(arena) : std::make_unique<LimitedArena>(threads, sign);
}

/// The threads that oneTBB has to give: an arena of more would get no more, and oneTBB would complain aloud.
int availableThreads() {
    if (process::staysInCallersThread()) {
        return 1;
    }
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
    if (limited || (priority != 0 && m_limit != 1 && !process::staysInCallersThread())) {
        m_arena = takeArena(limited ? m_limit : availableThreads(), signOf(priority));
    }
}

ThreadLimiter::~ThreadLimiter() {
    if (m_arena != nullptr) {
        idleArenas().give(std::move(m_arena));
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
    if (m_limit == 1 || process::staysInCallersThread()) {
        return 1;
    }
    return m_limit > 1 ? static_cast<std::size_t>(m_limit)
                       : static_cast<std::size_t>(std::max(1, tbb::this_task_arena::max_concurrency()));
}

std::size_t ThreadLimiter::threadsFor(int maximumThreads) {
    const int available = availableThreads();
    return static_cast<std::size_t>(maximumThreads > 0 ? std::min(maximumThreads, available) : available);
}

std::size_t ThreadLimiter::defaultThreads() {
    static const auto threads = static_cast<std::size_t>(std::max(1, tbb::info::default_concurrency()));
    return threads;
}

void ThreadLimiter::releaseArenas() {
    idleArenas().release();
}

void ThreadLimiter::releaseArenasForFork() {
    idleArenas().releaseForFork();
}

}  // namespace rix::algorithms
