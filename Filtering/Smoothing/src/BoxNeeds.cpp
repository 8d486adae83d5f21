#include "BoxNeeds.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include <rix/access/Scratch.h>

#include "BoxDealt.h"

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
constexpr double nanosecondsOfOther = 2;
double nanosecondsPerVoxel(BoxSums sums) {
    switch (sums) {
        case BoxSums::Bits16: return 0.2;
        case BoxSums::Bits32: return 0.3;
        case BoxSums::Bits64: return 5;
        case BoxSums::Bits128: return 40;
        case BoxSums::Real: return 1;
    }
    return 1;
}

}  // namespace

BoxSums chooseSums(VoxelTypes voxelType, const BoxJob& job) {
    if (voxelType == RIX_FLOAT32 || voxelType == RIX_FLOAT64) {
        return BoxSums::Real;
    }
    // The division of means begins at two voxels, and sums of more than 256 are not of 16 bit any more.
    if (voxelType == RIX_UINT8 && job.voxels >= 2 && job.voxels <= (job.mean ? 257 : 256)) {
        return BoxSums::Bits16;
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
    if (axis.border == BoxBorder::Continue) {
        return {axis.source(first), axis.source(last - 1) + 1};
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

access::BoxNeeds boxNeeds(const ImageModel& input, const BoxJob& job) {
    const auto reachOf = [&](Components axis) {
        const BoxAxis& box = job.axes[axis];
        const std::size_t before = std::min(box.reach, box.window - 1);
        return access::Reach::Axis{before, box.window - 1 - before};
    };
    const BoxSums sums = chooseSums(input.getVoxelType(), job);
    const bool real = sums == BoxSums::Real;
    access::Carried carried;
    carried.axis = job.axes[PLANS].isIdentity() ? ROWS : PLANS;
    carried.group = boxGroup;
    carried.piece = carried.axis == PLANS && real ? 512 : 8192;
    carried.voxels = std::size_t{1} << (carried.axis == PLANS ? 19 : real ? 17 : 18);
    const bool isOther = !real && job.bytesOfSum > 0;
    carried.bandVoxels = real ? 32768 : isOther ? 131072 * sizeof(std::uint32_t) / job.bytesOfSum : 131072;
    access::BoxNeeds needs;
    needs.reach = {reachOf(COLUMNS), reachOf(ROWS), reachOf(PLANS)};
    needs.nanosecondsPerVoxel = isOther ? nanosecondsOfOther : nanosecondsPerVoxel(sums);
    needs.carried = carried;
    return needs;
}

namespace {

/// The largest number of source columns, rows and planes that a block reads; planes are 1 when each is by itself.
std::array<std::size_t, 3> largestSource(const access::Plan& plan, const BoxJob& job) {
    std::array<std::size_t, 3> largest{};
    for (const Components axis : {COLUMNS, ROWS, PLANS}) {
        const BoxAxis& box = job.axes[axis];
        const std::size_t source = plan.largestPart(axis) + box.window - 1;
        largest[axis] = box.periods > 0 ? box.extent : std::min(box.extent, source);
    }
    if (job.axes[PLANS].isIdentity()) {
        largest[PLANS] = 1;
    }
    return largest;
}

std::size_t bytesOfSum(BoxSums sums) {
    switch (sums) {
        case BoxSums::Bits16: return 2;
        case BoxSums::Bits32: return 4;
        case BoxSums::Bits64: return 8;
        case BoxSums::Bits128: return 16;
        case BoxSums::Real: return sizeof(double);
    }
    return 0;
}

/// Peak working memory of one thread.
std::size_t bytesOfThread(VoxelTypes type, const BoxJob& job, const access::Plan& plan) {
    constexpr std::size_t margins = 12 * access::Scratch::granularity;  // of so many buffers
    const auto source = largestSource(plan, job);
    const BoxSums sums = chooseSums(type, job);
    const std::size_t width = source[COLUMNS] + job.axes[COLUMNS].window + 2 * boxGroup;
    const bool volume = !job.axes[PLANS].isIdentity();
    if (sums != BoxSums::Real && job.bytesOfSum > 0) {
        const std::size_t rowOfPlane = BoxDealt<std::uint64_t, 1>::sizeFor(source[COLUMNS]);
        return margins + (3 * width + (volume ? rowOfPlane * source[ROWS] : 0)) * job.bytesOfSum;
    }
    if (sums != BoxSums::Real) {
        const std::size_t sum = bytesOfSum(sums);
        const std::size_t rowOfPlane = sums == BoxSums::Bits16 ? BoxPairs::sizeFor(source[COLUMNS])
                                                               : BoxQuads<std::uint32_t>::sizeFor(source[COLUMNS]);
        return margins + (3 * width + (volume ? rowOfPlane * source[ROWS] : 0)) * sum;
    }
    const auto kept = [](const BoxAxis& axis) { return 3 + axis.window / boxGroup; };
    const std::size_t rowSums = 8 * (boxGroup * width + kept(job.axes[ROWS]) * width);
    const std::size_t planeSums = volume ? 8 * source[COLUMNS] * source[ROWS] * (boxGroup + kept(job.axes[PLANS])) : 0;
    const std::size_t differences = job.hasDifferences() ? 2 * boxGroup * width * sizeof(double) : 0;
    return margins + rowSums + planeSums + differences;
}

/// Peak working memory of a run. @param copied bytes of a sample that is read as something else, or 0
std::size_t workingBytes(const ImageModel& input, const BoxJob& job, std::size_t threads, std::size_t copied) {
    const access::Plan plan = access::cutBoxes({&input}, {}, boxNeeds(input, job));
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    // As many rows as are held at a time.
    const std::size_t copies = copied == 0 ? 0 : 2 * boxGroup * access::Scratch::held(input.getNumOf(COLUMNS) * copied);
    return atOnce * (bytesOfThread(input.getVoxelType(), job, plan) + copies);
}

}  // namespace

std::size_t boxWorkingBytes(const ImageModel& input, const BoxJob& job, std::size_t threads) {
    const std::size_t copied = input.getInterpretation() == RIX_BINARY ? helper::getElementSize(input) : 0;
    return workingBytes(input, job, threads, copied);
}

std::size_t boxWorkingBytesInDoubles(const ImageModel& input, const BoxJob& job, std::size_t threads) {
    const bool copies = input.getVoxelType() != RIX_FLOAT64 || input.getInterpretation() == RIX_BINARY;
    return workingBytes(input, job, threads, copies ? sizeof(double) : 0);
}

}  // namespace rix::filtering::smoothing
