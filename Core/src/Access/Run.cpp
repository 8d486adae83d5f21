#include <rix/access/Run.h>

#include <algorithm>

#include <rix/access/BlockScheduler.h>
#include <rix/access/Looks.h>

namespace rix::access {

void BlockProgress::tell() {
    const std::size_t told = std::min(m_done, m_left);
    m_context.blockDone(static_cast<double>(told));
    m_left -= told;
    m_done = 0;
    m_context.throwIfCancelled();
}

void BlockProgress::finish() {
    m_context.blockDone(static_cast<double>(m_left));
    m_left = 0;
}

void detail::runBlocks(ExecutionContext& context, const Plan& plan,
                       FunctionRef<void(const Block&, BlockProgress&)> body) {
    const auto runBlock = [&](std::size_t index) {
        context.throwIfCancelled();
        const RunOfThread runOfThread(context);
        const Block block = plan.block(index);
        BlockProgress progress(context, block.voxels());
        body(block, progress);
        progress.finish();
    };
    context.startStep(static_cast<double>(plan.voxelCount()));
    BlockScheduler& scheduler = plan.isSmall() ? serialScheduler() : context.scheduler();
    scheduler.forEach(plan.blockCount(), runBlock);
    context.throwIfCancelled();
}

void forEachPart(ExecutionContext& context, std::size_t count, double nanosecondsPerPart,
                 FunctionRef<void(std::size_t)> part) {
    const bool small = static_cast<double>(count) * nanosecondsPerPart < smallWorkNanoseconds();
    const auto runPart = [&](std::size_t index) {
        context.throwIfCancelled();
        const RunOfThread runOfThread(context);
        part(index);
        if (!small) {
            context.blockDone(0);  // whoever waits for the run may ask for its end
        }
    };
    BlockScheduler& scheduler = small ? serialScheduler() : context.scheduler();
    scheduler.forEach(count, runPart);
    context.throwIfCancelled();
}

}  // namespace rix::access
