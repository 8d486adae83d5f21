#include <rix/access/BlockScheduler.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <numeric>
#include <random>
#include <system_error>
#include <thread>
#include <vector>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/partitioner.h>
#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/exceptions/Exception.h>

#include "Process/FloatingPoint.h"
#include "Process/Forks.h"

namespace rix::access {

BlockScheduler::~BlockScheduler() = default;
ExecutionContext::~ExecutionContext() = default;

void ExecutionContext::openSteps(std::size_t /*count*/, std::span<const double> /*weights*/) {}

void ExecutionContext::closeSteps() noexcept {}

void ExecutionContext::throwIfCancelled() const {
    if (isCancelled()) {
        throw ExceptionCancelation();
    }
}

namespace {

#ifndef __SANITIZE_THREAD__
using Range = tbb::blocked_range<std::size_t>;

/// Its groups of tasks are isolated: were they part of a group of the application that is cancelled meanwhile, oneTBB
/// would leave blocks out without a word.
class ParallelScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        if (process::staysInCallersThread()) {
            serialScheduler().forEach(count, block);
            return;
        }
        tbb::task_group_context own(tbb::task_group_context::isolated);
        const std::shared_ptr<MemoryAccount> account = MemoryAccount::current();
        tbb::parallel_for(
            Range(0, count),
            [block, &account](const Range& range) {
                const process::DefaultFloatingPoint floatingPoint;
                const MemoryAccount::Scope scope(account);
                for (std::size_t i = range.begin(); i != range.end(); ++i) {
                    block(i);
                }
            },
            tbb::auto_partitioner(), own);
    }
};
#endif

class SerialScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        for (std::size_t i = 0; i < count; ++i) {
            block(i);
        }
    }
};

#ifdef __SANITIZE_THREAD__
/// Stands in for oneTBB under the thread sanitizer. The sanitizer does not see how oneTBB, which is not instrumented,
/// orders its threads, and would report every hand-over of a task as a race; to silence oneTBB's frames would silence
/// our bodies too, which always run below them. Plain threads make every report a true one; no more of them than oneTBB
/// would have, since that is what algorithms state their memory for.
class PlainThreadScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        std::atomic<std::size_t> next{0};
        std::mutex mutex;
        std::exception_ptr failure;
        const std::shared_ptr<MemoryAccount> account = MemoryAccount::current();
        const auto work = [&] {
            const process::DefaultFloatingPoint floatingPoint;
            const MemoryAccount::Scope scope(account);
            try {
                for (std::size_t i = next++; i < count; i = next++) {
                    block(i);
                }
            } catch (...) {
                const std::lock_guard lock(mutex);
                failure = std::current_exception();
                next = count;
            }
        };
        std::vector<std::thread> threads;
        const auto most = static_cast<std::size_t>(std::clamp(tbb::this_task_arena::max_concurrency(), 1, 4));
        threads.reserve(most);
        try {
            while (threads.size() + 1 < std::min(count, most)) {
                threads.emplace_back(work);
            }
        } catch (const std::system_error&) {
            // The system has no more threads to give: those that there are do the work.
        }
        work();
        for (std::thread& thread : threads) {
            thread.join();
        }
        if (failure != nullptr) {
            std::rethrow_exception(failure);
        }
    }
};
#endif

}  // namespace

// Never destroyed: runs of threads that nobody waits for may outlast static objects.
BlockScheduler& parallelScheduler() {
#ifdef __SANITIZE_THREAD__
    static auto* const scheduler = new PlainThreadScheduler();
#else
    static auto* const scheduler = new ParallelScheduler();
#endif
    return *scheduler;
}

BlockScheduler& serialScheduler() {
    static auto* const scheduler = new SerialScheduler();
    return *scheduler;
}

void ShuffledScheduler::forEach(std::size_t count, FunctionRef<void(std::size_t)> block) {
    std::vector<std::size_t> order(count);
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::mt19937_64 random(m_seed + count);
    std::shuffle(order.begin(), order.end(), random);
    for (const std::size_t i : order) {
        block(i);
    }
}

}  // namespace rix::access
