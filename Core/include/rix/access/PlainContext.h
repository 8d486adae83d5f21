#pragma once

#include <cstddef>

#include <rix/access/BlockScheduler.h>
#include <rix/access/ExecutionContext.h>

namespace rix::access {

/// A run outside of any algorithm, for programs and tests that use the engine by itself: nobody cancels it or watches
/// its progress.
class PlainContext : public ExecutionContext {
public:
    /// @param scheduler `serialScheduler()` or `parallelScheduler()`; outlives this
    explicit PlainContext(BlockScheduler& scheduler, std::size_t threads = 1)
        : m_scheduler(scheduler), m_threads(threads) {}

    bool isCancelled() const override { return false; }
    void blockDone(double /*work*/) override {}
    void startStep(double /*work*/) override {}
    BlockScheduler& scheduler() const override { return m_scheduler; }
    std::size_t maximumThreads() const override { return m_threads; }

private:
    BlockScheduler& m_scheduler;
    std::size_t m_threads;
};

}  // namespace rix::access
