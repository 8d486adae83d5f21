#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <rix/Export.h>
#include <rix/access/FunctionRef.h>

namespace rix::access {

/// Distributes the blocks of a run to threads. An exception thrown by a block ends the whole call; blocks that have
/// not started by then are not run. In every thread the memory account of the caller is the current one during a block.
class RIX_EXPORT BlockScheduler {
public:
    virtual ~BlockScheduler();
    /// Calls `block(i)` once for every i below `count`, in any order and from any thread.
    virtual void forEach(std::size_t count, FunctionRef<void(std::size_t)> block) = 0;
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

private:
    std::uint64_t m_seed;
};

}  // namespace rix::access
