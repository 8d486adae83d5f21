#pragma once

#include <cstddef>
#include <type_traits>

#include <rix/Export.h>
#include <rix/access/ExecutionContext.h>
#include <rix/access/FunctionRef.h>
#include <rix/access/Plan.h>

namespace rix::access {

/// Counts the voxels of a block that are done; now and then it tells the run and asks whether to go on. Bodies whose
/// blocks take more than some milliseconds add to it; what they leave out is added at the end of the block.
class RIX_EXPORT BlockProgress {
public:
    BlockProgress(ExecutionContext& context, std::size_t voxels) : m_context(context), m_left(voxels) {}
    void add(std::size_t voxels) {
        m_done += voxels;
        if (m_done >= voxelsBetweenLooks) {
            tell();
        }
    }
    /// @throws ExceptionCancelation when the run was asked to stop
    void tell();
    void finish();

private:
    static constexpr std::size_t voxelsBetweenLooks = std::size_t{1} << 18;

    ExecutionContext& m_context;
    std::size_t m_left;
    std::size_t m_done = 0;
};

namespace detail {
RIX_EXPORT void runBlocks(ExecutionContext& context, const Plan& plan,
                          FunctionRef<void(const Block&, BlockProgress&)> body);
}

/// Runs `body(block)` or `body(block, progress)` for every block of the plan: on the run's threads when the work pays
/// for them, else in order on this one. The call is one step of the run, measured in voxels; before every block a
/// request to cancel is looked for. A failure of one block ends the call.
template <class Body>
void run(ExecutionContext& context, const Plan& plan, Body&& body) {
    if constexpr (std::is_invocable_v<Body&, const Block&, BlockProgress&>) {
        detail::runBlocks(context, plan, body);
    } else {
        detail::runBlocks(context, plan, [&](const Block& block, BlockProgress&) { body(block); });
    }
}

/// Calls `part(i)` for every i below `count`: loops over tables, which belong to no image. On the run's threads when
/// the work pays for them; each after a look at a request to cancel. No step of the run: it adds nothing to progress.
RIX_EXPORT void forEachPart(ExecutionContext& context, std::size_t count, double nanosecondsPerPart,
                            FunctionRef<void(std::size_t)> part);

}  // namespace rix::access
