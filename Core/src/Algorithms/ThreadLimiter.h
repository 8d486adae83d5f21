#pragma once

#include <cstddef>
#include <memory>

#include <rix/access/FunctionRef.h>

namespace rix::algorithms {

struct LimitedArena;

/// Keeps a run within a number of threads, without touching the limits of the application's other oneTBB work.
///
/// A run with a limit executes inside a task arena of that size. Arenas are kept and reused, because making one costs
/// 40 to 80 microseconds; while a run holds one, no other run uses it.
class ThreadLimiter {
public:
    /// @param maximumThreads below 1 means no limit
    /// @param priority above 0 the arena's tasks go before others, below 0 after them
    ThreadLimiter(int maximumThreads, int priority);
    ~ThreadLimiter();
    ThreadLimiter(const ThreadLimiter&) = delete;
    ThreadLimiter& operator=(const ThreadLimiter&) = delete;

    /// Calls `work` inside the limit, in the calling thread.
    void execute(access::FunctionRef<void()> work) const;
    /// The number of threads that work inside `execute` can get, at least 1.
    std::size_t threads() const;

    /// The number of threads that a run with a limit can get, known without a run.
    /// @param maximumThreads below 1 means no limit
    static std::size_t threadsFor(int maximumThreads);
    /// The number of threads that oneTBB gives a run without a limit.
    static std::size_t defaultThreads();
    /// Frees the arenas that no run holds.
    static void releaseArenas();

    /// `releaseArenas` for the thread that forks, which holds all locks of the process.
    static void releaseArenasForFork();

private:
    int m_limit;
    std::unique_ptr<LimitedArena> m_arena;  ///< null when work runs where it is called
};

}  // namespace rix::algorithms
