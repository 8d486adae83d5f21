#include <rix/access/BlockScheduler.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/parallel_reduce.h>
#include <tbb/partitioner.h>

#include <rix/access/ExecutionContext.h>
#include <rix/exceptions/Exception.h>

namespace rix::access {

ReductionBody::~ReductionBody() = default;
BlockScheduler::~BlockScheduler() = default;
ExecutionContext::~ExecutionContext() = default;

void ExecutionContext::throwIfCancelled() const {
    if (isCancelled()) {
        throw ExceptionCancelation();
    }
}

namespace {

using Range = tbb::blocked_range<std::size_t>;

/// Gives oneTBB's reduction the shape that it expects of a body.
class TbbReduction {
public:
    explicit TbbReduction(ReductionBody& body) : m_body(&body) {}
    TbbReduction(TbbReduction& other, tbb::split) : m_owned(other.m_body->split()), m_body(m_owned.get()) {}

    void operator()(const Range& range) { m_body->process(range.begin(), range.end()); }
    void join(TbbReduction& right) { m_body->join(*right.m_body); }

private:
    std::unique_ptr<ReductionBody> m_owned;
    ReductionBody* m_body;
};

class ParallelScheduler : public BlockScheduler {
public:
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override {
        tbb::parallel_for(Range(0, count), [block](const Range& range) {
            for (std::size_t i = range.begin(); i != range.end(); ++i) {
                block(i);
            }
        });
    }

    void reduce(std::size_t count, std::size_t grain, ReductionBody& body) override {
        if (count > 0) {
            TbbReduction reduction(body);
            tbb::parallel_deterministic_reduce(Range(0, count, grain), reduction, tbb::simple_partitioner());
        }
    }
};

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

}  // namespace

BlockScheduler& parallelScheduler() {
    static ParallelScheduler scheduler;
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
    if (count == 0) {
        return;
    }
    std::vector<Leaf> leaves;
    std::vector<Join> joins;
    collectLeaves(0, count, grain, body, leaves, joins);
    forEach(leaves.size(), [&](std::size_t i) { leaves[i].body->process(leaves[i].first, leaves[i].last); });
    for (Join& join : joins) {
        join.left->join(*join.right);
    }
}

}  // namespace rix::access
