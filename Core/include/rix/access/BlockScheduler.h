#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <rix/Export.h>
#include <rix/access/FunctionRef.h>

namespace rix::access {

/// The partial result of a reduction over blocks.
class RIX_EXPORT ReductionBody {
public:
    virtual ~ReductionBody();
    /// A new, empty partial result.
    virtual std::unique_ptr<ReductionBody> split() const = 0;
    /// Adds the blocks [first, last) to this partial result.
    virtual void process(std::size_t first, std::size_t last) = 0;
    /// Adds the partial result of the blocks that follow those of this one.
    virtual void join(ReductionBody& right) = 0;
};

/// Distributes the blocks of a run to threads. An exception thrown by a block ends the whole call; blocks that have
/// not started by then are not run. In every thread the memory account of the caller is the current one during a block.
class RIX_EXPORT BlockScheduler {
public:
    virtual ~BlockScheduler();
    /// Calls `block(i)` once for every i below `count`, in any order and from any thread.
    virtual void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) = 0;
    /// Reduces the blocks [0, count). The range is halved until a part has at most `grain` blocks; parts are joined
    /// along the tree of the halvings, left part first. The tree depends on `count` and `grain` alone, so that the
    /// result is the same, bit for bit, for every scheduler and number of threads.
    virtual void reduce(std::size_t count, std::size_t grain, ReductionBody& body) = 0;
};

/// Runs blocks on the threads of the surrounding oneTBB arena.
RIX_EXPORT BlockScheduler& parallelScheduler();

/// Runs blocks in order on the calling thread.
RIX_EXPORT BlockScheduler& serialScheduler();

/// Runs blocks on the calling thread in a random order given by a seed: a body that depends on the order of blocks
/// fails under it every time. For tests.
class RIX_EXPORT ShuffledScheduler : public BlockScheduler {
public:
    explicit ShuffledScheduler(std::uint64_t seed) : m_seed(seed) {}
    void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) override;
    void reduce(std::size_t count, std::size_t grain, ReductionBody& body) override;

private:
    std::uint64_t m_seed;
};

}  // namespace rix::access
