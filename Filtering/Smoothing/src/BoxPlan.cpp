#include "BoxPlan.h"

#include <algorithm>

#include <rix/access/BlockScheduler.h>

namespace rix::filtering::smoothing {

namespace {

/// The largest magnitude of a voxel.
WideInteger largestMagnitude(VoxelTypes voxelType) {
    switch (voxelType) {
        case RIX_UINT8: return 255;
        case RIX_INT8: return 128;
        case RIX_UINT16: return 65535;
        case RIX_INT16: return 32768;
        case RIX_UINT32: return 4294967295;
        default: return 2147483648;
    }
}

/// Rough costs, for deciding whether threads pay.
double nanosecondsPerVoxel(BoxSums sums) {
    switch (sums) {
        case BoxSums::Bits32: return 0.3;
        case BoxSums::Bits64: return 5;
        case BoxSums::Bits128: return 40;
        case BoxSums::Real: return 1;
    }
    return 1;
}

std::size_t ceilDivide(std::size_t a, std::size_t b) {
    return a / b + (a % b != 0 ? 1 : 0);
}

std::size_t roundUp(std::size_t value) {
    return ceilDivide(value, boxGroup) * boxGroup;
}

/// The size of parts of at least `wanted`, all but the last of the same size; an even number of them, which two threads
/// share without one waiting for the other.
std::size_t stepFor(std::size_t extent, std::size_t wanted) {
    const std::size_t parts = extent / std::max<std::size_t>(wanted, 1);
    return roundUp(ceilDivide(extent, parts > 1 ? parts - parts % 2 : 1));
}

/// A part that starts anew has to sum the first window: parts are long against windows. There are some eight of them as
/// long as none is shorter than three windows, and two after that.
std::size_t wantedFor(std::size_t extent, std::size_t window, std::size_t least) {
    const std::size_t eighth = ceilDivide(extent, 8);
    const std::size_t longEnough = std::min(3 * window, ceilDivide(extent, 2));
    return std::max(least, std::min(16 * window, std::max(longEnough, eighth)));
}

}  // namespace

BoxSums chooseSums(VoxelTypes voxelType, const BoxJob& job) {
    if (voxelType == RIX_FLOAT32 || voxelType == RIX_FLOAT64) {
        return BoxSums::Real;
    }
    const WideInteger largest = largestMagnitude(voxelType) * job.summed();
    // The division of means takes sums up to 2^31, that bound included.
    return largest <= WideInteger{1} << 31 && helper::getSizeOf(voxelType) < 4 ? BoxSums::Bits32
           : largest < WideInteger{1} << 63                                    ? BoxSums::Bits64
                                                                               : BoxSums::Bits128;
}

access::Interval sourceRange(const BoxAxis& axis, access::Interval outputs) {
    const std::size_t first = outputs.begin;
    const std::size_t last = outputs.end - 1 + axis.window;  // one past the last element
    const access::Interval all{0, axis.extent};
    if (axis.border == BoxBorder::Zero) {
        return {first > axis.reach ? first - axis.reach : 0, std::min(last - axis.reach, axis.extent)};
    }
    // Mirrored parts lie inside the rest unless the window is large against the block.
    const std::size_t below = axis.reach > first ? axis.reach - first : 0;
    const std::size_t above = last > axis.extent + axis.reach ? last - axis.extent - axis.reach : 0;
    if (axis.periods > 0 || last <= axis.reach || (below > 0 && above > 0) || below > axis.extent ||
        above > axis.extent) {
        return all;
    }
    if (below > 0) {
        return {0, std::max(last - axis.reach, below)};
    }
    if (above > 0) {
        return {std::min(first - axis.reach, axis.extent - above), axis.extent};
    }
    return {first - axis.reach, last - axis.reach};
}

BoxPlan::BoxPlan(const ImageModel& input, const BoxJob& job) : m_extents(helper::getExtents(input)), m_job(job) {
    const BoxSums sums = chooseSums(input.getVoxelType(), job);
    m_nanosecondsPerVoxel = nanosecondsPerVoxel(sums);
    const bool real = sums == BoxSums::Real;
    const bool volume = !job.axes[PLANS].isIdentity();

    // Only long rows are cut: windows reach over the cuts, and what lies there is summed twice.
    const std::size_t piece =
        std::max<std::size_t>(access::scaledToBlocks(volume && real ? 512 : 8192), 8 * job.axes[COLUMNS].window);
    m_steps[COLUMNS] = stepFor(m_extents[COLUMNS], m_extents[COLUMNS] >= 2 * piece ? piece : m_extents[COLUMNS]);
    const std::size_t columns = std::min(m_steps[COLUMNS], m_extents[COLUMNS]);

    const std::size_t windowRows = job.axes[ROWS].window;
    if (volume) {
        // The sums along z of a block stay in the level-2 cache, where the window is small enough for that.
        const std::size_t cached = access::scaledToBlocks(real ? 32768 : 131072) / columns;
        m_steps[ROWS] = stepFor(m_extents[ROWS],
                                std::max({cached - std::min(cached, windowRows), 4 * windowRows, std::size_t{16}}));
        const std::size_t area = columns * std::min(m_steps[ROWS], m_extents[ROWS]);
        m_steps[PLANS] = stepFor(m_extents[PLANS], wantedFor(m_extents[PLANS], job.axes[PLANS].window,
                                                             access::scaledToBlocks(std::size_t{1} << 19) / area + 1));
    } else {
        const std::size_t least = access::scaledToBlocks(std::size_t{1} << (real ? 17 : 18)) / columns + 1;
        m_steps[ROWS] = stepFor(m_extents[ROWS], wantedFor(m_extents[ROWS], windowRows, least));
        const std::size_t area = columns * std::min(m_steps[ROWS], m_extents[ROWS]);
        m_steps[PLANS] = std::min(m_extents[PLANS], access::scaledToBlocks(std::size_t{1} << 18) / area + 1);
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_parts[axis] = ceilDivide(m_extents[axis], m_steps[axis]);
    }
}

std::size_t BoxPlan::blockCount() const {
    return m_parts[0] * m_parts[1] * m_parts[2] * m_extents[SEQUENCE] * m_extents[SPECTRAL_SERIES];
}

BoxBlock BoxPlan::block(std::size_t index) const {
    BoxBlock block;
    access::Interval* const intervals[] = {&block.columns, &block.rows, &block.planes};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t begin = index % m_parts[axis] * m_steps[axis];
        *intervals[axis] = {begin, std::min(begin + m_steps[axis], m_extents[axis])};
        index /= m_parts[axis];
    }
    block.sequence = index % m_extents[SEQUENCE];
    block.spectral = index / m_extents[SEQUENCE];
    return block;
}

std::array<std::size_t, 3> BoxPlan::largestSource() const {
    std::array<std::size_t, 3> largest{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        largest[axis] = std::min(m_extents[axis], m_steps[axis] + m_job.axes[axis].window - 1);
        if (m_job.axes[axis].periods > 0) {
            largest[axis] = m_extents[axis];
        }
    }
    if (m_job.axes[PLANS].isIdentity()) {
        largest[PLANS] = 1;
    }
    return largest;
}

void BoxPlan::forEach(access::ExecutionContext& context, access::FunctionRef<void(const BoxBlock&)> body) const {
    const auto runBlock = [&](std::size_t index) {
        context.throwIfCancelled();
        body(block(index));
    };
    double voxels = 1;
    for (const std::size_t extent : m_extents) {
        voxels *= static_cast<double>(extent);
    }
    context.startStep(voxels);
    if (voxels * m_nanosecondsPerVoxel < access::smallWorkNanoseconds()) {
        for (std::size_t i = 0; i < blockCount(); ++i) {
            runBlock(i);
        }
    } else {
        context.scheduler().forEach(blockCount(), runBlock);
    }
    context.throwIfCancelled();
}

std::size_t boxWorkingBytes(const ImageModel& input, const BoxJob& job) {
    const BoxPlan plan(input, job);
    const auto source = plan.largestSource();
    const BoxSums sums = chooseSums(input.getVoxelType(), job);
    const std::size_t width = source[COLUMNS] + job.axes[COLUMNS].window + 2 * boxGroup;
    const bool volume = !job.axes[PLANS].isIdentity();
    const std::size_t rows = 2 * boxGroup * width * helper::getSizeOf(input.getVoxelType());
    if (sums != BoxSums::Real) {
        const std::size_t sum = sums == BoxSums::Bits32 ? 4 : sums == BoxSums::Bits64 ? 8 : 16;
        return rows + (3 * width + (volume ? source[COLUMNS] * source[ROWS] : 0)) * sum;
    }
    const auto kept = [](const BoxAxis& axis) { return 3 + axis.window / boxGroup; };
    const std::size_t rowSums = 8 * (boxGroup * width + kept(job.axes[ROWS]) * width);
    const std::size_t planeSums = volume ? 8 * source[COLUMNS] * source[ROWS] * (boxGroup + kept(job.axes[PLANS])) : 0;
    return rows + rowSums + planeSums;
}

}  // namespace rix::filtering::smoothing
