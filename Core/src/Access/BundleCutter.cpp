#include <algorithm>

#include <rix/access/LineBundles.h>

#include "Access/BundleAxes.h"
#include "Access/Cutting.h"

namespace rix::access {

namespace {

constexpr std::size_t cacheLine = 64;
constexpr std::size_t page = Scratch::granularity;
/// Rows that a bundle reads or writes at a time.
constexpr double rowsAtOnce = 16.0;
/// Bytes of a row that are better read at once, as memory is slow with less, and how many times a block they may make
/// of a bundle for that: what leaves the second-level cache comes back sooner.
constexpr double piece = 512.0;
constexpr double mostRooms = 4.0;

}  // namespace

Plan cutBundles(const ImageModel& input, const ImageModel& output, Components axis, std::size_t workBytes,
                const BundleNeeds& needs) {
    elementBytes({&input, &output}, input);
    const auto extents = helper::getExtents(input);
    Plan plan(extents, JoinedAxes::None);
    if (plan.voxelCount() == 0) {
        return plan;
    }
    const double cost = std::max(needs.nanosecondsPerVoxel, 1e-3);
    plan.setSmall(isSmallWork(plan.voxelCount(), cost));
    const auto length = static_cast<double>(extents[axis]);
    const double rows = length + static_cast<double>(needs.reach.before) + static_cast<double>(needs.reach.after);
    const std::size_t samples = helper::getElementNumber(input.getElementType());
    const std::size_t smallest = std::min(helper::getElementSize(input), helper::getElementSize(output));
    const std::size_t least = ceilDivide(cacheLine, std::max<std::size_t>(smallest, 1));
    auto room = static_cast<double>(blockBytes());
    if (axis != COLUMNS) {
        room = std::clamp(rows * piece, room, mostRooms * room);
    }
    const double fitting =
        std::min(room / (rows * static_cast<double>(workBytes * samples)), longestBlockNanoseconds / (cost * length));
    const auto lines = static_cast<std::size_t>(std::clamp(fitting, static_cast<double>(least), 1e9));

    const Components inner = innerAxis(axis);
    const Components next = nextAxis(axis);
    for (int other = COLUMNS; other <= SPECTRAL_SERIES; ++other) {
        const auto component = static_cast<Components>(other);
        if (component == inner) {
            // Rounded, not cut off: of long lines one cache line of samples would be left where two nearly fit.
            plan.cut(component, {ceilDivide(ceilDivide(extents[inner], least), (lines + least / 2) / least), 0, least});
        } else if (component == next) {
            plan.cut(component, {ceilDivide(extents[next], std::max<std::size_t>(lines / extents[inner], 1)), 0, 1});
        } else if (component != axis) {
            plan.cut(component, {extents[component], 0, 1});
        }
    }
    return plan;
}

std::size_t widestBundle(const Plan& plan, Components axis, std::size_t workBytes, std::size_t samples) {
    const std::size_t width = plan.largestPart(innerAxis(axis)) * plan.largestPart(nextAxis(axis)) * samples;
    return ceilDivide(width * workBytes, cacheLine) * cacheLine / workBytes;
}

std::size_t bundleMemory(const ImageModel& input, Components axis, std::size_t workBytes, const BundleNeeds& needs,
                         std::size_t threads) {
    const Plan plan = cutBundles(input, input, axis, workBytes, needs);
    if (plan.blockCount() == 0) {
        return 0;
    }
    const std::size_t sampleBytes = workBytes * helper::getElementNumber(input.getElementType());
    const auto bytesOf = [&](std::size_t elements) { return static_cast<double>(elements * sampleBytes); };
    const double width = bytesOf(plan.largestPart(innerAxis(axis)) * plan.largestPart(nextAxis(axis))) + 2 * cacheLine;
    const double rows = static_cast<double>(plan.largestPart(axis)) + static_cast<double>(needs.reach.before) +
                        static_cast<double>(needs.reach.after);
    const bool inPlace = input.getImageBuffer() != nullptr && input.getInterpretation() != RIX_BINARY &&
                         helper::getSizeOf(input.getVoxelType()) == workBytes;
    const double buffers = rowsAtOnce * (bytesOf(plan.largestPart(COLUMNS)) + page);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    constexpr double most = 9e18;
    return static_cast<std::size_t>(
        std::min(static_cast<double>(atOnce) * (rows * width + page + (inPlace ? 1.0 : 2.0) * buffers), most));
}

}  // namespace rix::access
