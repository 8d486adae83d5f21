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
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>
#include <tbb/task_group.h>

#include <rix/access/ExecutionContext.h>
#include <rix/access/MemoryAccount.h>
#include <rix/exceptions/Exception.h>

namespace rix::access {

ReductionBody::~ReductionBody() = default;
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

/// Gives oneTBB's reduction the shape that it expects of a body. Splitting must not throw there, or oneTBB loses the
/// tasks that it is making: what `split` throws is kept and thrown when the part is to be processed.
class TbbReduction {
public:
    explicit TbbReduction(ReductionBody& body) : m_body(&body) {}
    TbbReduction(TbbReduction& other, tbb::split) noexcept {
        if (other.m_body == nullptr) {
            m_failure = other.m_failure;
            return;
        }
        try {
            m_owned = other.m_body->split();
            m_body = m_owned.get();
        } catch (...) {
            m_failure = std::current_exception();
        }
    }

    void operator()(const Range& range) {
        if (m_failure != nullptr) {
            std::rethrow_exception(m_failure);
        }
        m_body->process(range.begin(), range.end());
    }
    void join(TbbReduction& right) {
        if (m_body != nullptr && right.m_body != nullptr) {
            m_body->join(*right.m_body);
        }
    }

private:
    std::unique_ptr<ReductionBody> m_owned;
    ReductionBody* m_body = nullptr;  ///< null after a failed split
    std::exception_ptr m_failure;
};

/// Its groups of tasks are isolated: were they part of a group of the application that is cancelled meanwhile, oneTBB
/// would leave blocks out without a word.
class ParallelScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        tbb::task_group_context own(tbb::task_group_context::isolated);
        const std::shared_ptr<MemoryAccount> account = MemoryAccount::current();
        tbb::parallel_for(
            Range(0, count),
            [block, &account](const Range& range) {
                const MemoryAccount::Scope scope(account);
                for (std::size_t i = range.begin(); i != range.end(); ++i) {
                    block(i);
                }
            },
            tbb::auto_partitioner(), own);
    }

    void reduce(std::size_t count, std::size_t grain, ReductionBody& body) override {
        if (count > 0) {
            TbbReduction reduction(body);
            tbb::task_group_context own(tbb::task_group_context::isolated);
            tbb::parallel_deterministic_reduce(Range(0, count, grain), reduction, tbb::simple_partitioner(), own);
        }
    }
};
#endif

/// The same tree of halvings as oneTBB's simple partitioner builds, walked on one thread.
void reduceInOrder(std::size_t first, std::size_t last, std::size_t grain, ReductionBody& body) {
    if (last - first <= grain) {
        body.process(first, last);
        return;
    }
    const std::size_t middle = first + (last - first) / 2;
    const std::unique_ptr<ReductionBody> right = body.split();
    reduceInOrder(first, middle, grain, body);
    reduceInOrder(middle, last, grain, *right);
    body.join(*right);
}

class SerialScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        for (std::size_t i = 0; i < count; ++i) {
            block(i);
        }
    }

    void reduce(std::size_t count, std::size_t grain, ReductionBody& body) override {
        if (count > 0) {
            reduceInOrder(0, count, grain, body);
        }
    }
};

/// One leaf of the tree of halvings and the partial result that it fills.
struct Leaf {
    std::size_t first;
    std::size_t last;
    ReductionBody* body;
};

/// A join to be done once both sides are complete.
struct Join {
    ReductionBody* left;
    std::unique_ptr<ReductionBody> right;
};

void collectLeaves(std::size_t first, std::size_t last, std::size_t grain, ReductionBody& body,
                   std::vector<Leaf>& leaves, std::vector<Join>& joins) {
    if (last - first <= grain) {
        leaves.push_back({first, last, &body});
        return;
    }
    const std::size_t middle = first + (last - first) / 2;
    std::unique_ptr<ReductionBody> right = body.split();
    ReductionBody& rightBody = *right;
    collectLeaves(first, middle, grain, body, leaves, joins);
    collectLeaves(middle, last, grain, rightBody, leaves, joins);
    joins.push_back({&body, std::move(right)});  // after those of its parts
}

/// Reduces along the tree of halvings: all leaves through `forEach` of a scheduler, then the joins in order.
void reduceLeaves(BlockScheduler& scheduler, std::size_t count, std::size_t grain, ReductionBody& body) {
    if (count == 0) {
        return;
    }
    std::vector<Leaf> leaves;
    std::vector<Join> joins;
    collectLeaves(0, count, grain, body, leaves, joins);
    scheduler.forEach(leaves.size(), [&](std::size_t i) { leaves[i].body->process(leaves[i].first, leaves[i].last); });
    for (Join& join : joins) {
        join.left->join(*join.right);
    }
}

#ifdef __SANITIZE_THREAD__
/// Stands in for oneTBB under the thread sanitizer. The sanitizer does not see how oneTBB, which is not instrumented,
/// orders its threads, and would report every hand-over of a task as a race; to silence oneTBB's frames would silence
/// our bodies too, which always run below them. Plain threads make every report a true one.
class PlainThreadScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        std::atomic<std::size_t> next{0};
        std::mutex mutex;
        std::exception_ptr failure;
        const std::shared_ptr<MemoryAccount> account = MemoryAccount::current();
        const auto work = [&] {
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
        threads.reserve(3);
        try {
            while (threads.size() + 1 < std::min<std::size_t>(count, 4)) {
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

    void reduce(std::size_t count, std::size_t grain, ReductionBody& body) override {
        reduceLeaves(*this, count, grain, body);
    }
};
#endif

}  // namespace

BlockScheduler& parallelScheduler() {
#ifdef __SANITIZE_THREAD__
    static PlainThreadScheduler scheduler;
#else
    static ParallelScheduler scheduler;
#endif
    return scheduler;
}

BlockScheduler& serialScheduler() {
    static SerialScheduler scheduler;
    return scheduler;
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

void ShuffledScheduler::reduce(std::size_t count, std::size_t grain, ReductionBody& body) {
    reduceLeaves(*this, count, grain, body);
}

}  // namespace rix::access
