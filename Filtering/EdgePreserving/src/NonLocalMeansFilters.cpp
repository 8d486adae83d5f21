// Both filters of non-local means: squares are cubes of one plane.

#include <rix/filtering/smoothing/NonLocalMeansFilter2d.h>
#include <rix/filtering/smoothing/NonLocalMeansFilter3d.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <rix/access/Buffer.h>

#include "EdgeFilter.h"
#include "PatchTile.h"
#include "Tiles.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, NonLocalMeansFilter3d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is smoothed.", AddRulesForRealImage());
    declareRadius(properties, filter.patchRadius, 1, ofVolumes<Filter> ? 5 : 20,
                  "Of the squares or cubes that are compared.");
    declareRadius(properties, filter.searchRadius, 5, ofVolumes<Filter> ? 10 : 50,
                  "Of the square or cube that is searched.");
    declarePositive(properties, filter.strength, 10.0, "The difference at which weights fall.");
    declareResult(filter, properties);
}

/// Of columns and rows, and of planes.
template <class Filter>
std::array<PatchRadii, 2> radiiOf(const Filter& filter) {
    const PatchRadii inPlane{filter.getPatchRadius(), filter.getSearchRadius()};
    return {inPlane, ofVolumes<Filter> ? inPlane : PatchRadii{0, 0}};
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const auto [inPlane, ofPlanes] = radiiOf(filter);
    const auto axis = [](const PatchRadii& radii) {
        const auto reach = static_cast<std::size_t>(radii.both());
        return access::Reach::Axis{reach, reach};
    };
    return {axis(inPlane), axis(inPlane), axis(ofPlanes)};
}

template <class Filter>
access::Plan cut(const Filter& filter) {
    const auto search = static_cast<std::size_t>(filter.getSearchRadius());
    const double side = 2.0 * static_cast<double>(search) + 1.0;
    const double nanoseconds = side * side * (ofVolumes<Filter> ? side : 1.0);
    const auto part = [&](std::size_t most) { return std::max(access::scaledToBlocks(most), 2 * search + 1); };
    const ImageModel& input = *filter.getInputImage();
    return ofVolumes<Filter> ? cutTiles(input, {part(96), part(24), part(24)}, nanoseconds)
                             : cutTiles(input, {part(512), part(64), 1}, nanoseconds);
}

template <class Filter, class T>
void smooth(Filter& filter, const ImageModel& input, ImageModel& target, OptimLevelType level) {
    const auto [inPlane, ofPlanes] = radiiOf(filter);
    const EdgeKernels<T> kernels = edgeKernels<T>(level);
    const SumKernels<T> sums = sumKernels<T>(level);
    const Rounding<T> round(target, kernels);
    const double side = 2.0 * static_cast<double>(inPlane.patch) + 1.0;
    const double h = filter.getStrength();
    const T factor = logarithmOfWeight<T>(1.0 / h / h / (side * side * (ofVolumes<Filter> ? side : 1.0)));
    const auto border = access::borderOf<T>(filter.getBorderPolicy(), filter.getBorderValue());
    const access::Plan plan = cut(filter);
    access::run(filter.executionContext(), plan, [&](const access::Block& block) {
        const auto extents = extentsOf(block);
        access::Buffer<T> memory;
        memory.reserve(PatchTile<T>(extents, inPlane, ofPlanes, kernels, sums, nullptr).samples());
        PatchTile<T> tile(extents, inPlane, ofPlanes, kernels, sums, memory.data());
        const Offset first{static_cast<std::int64_t>(block.columns().begin),
                           static_cast<std::int64_t>(block.rows().begin),
                           static_cast<std::int64_t>(block.planes().begin)};
        const std::int64_t around = inPlane.both();
        const PaddedRows<T> rows(input, *border, block, static_cast<std::size_t>(around));
        const auto rowCount = static_cast<std::int64_t>(extents[1]);
        const auto planeCount = static_cast<std::int64_t>(extents[2]);
        for (std::int64_t z = -ofPlanes.both(); z < planeCount + ofPlanes.both(); ++z) {
            for (std::int64_t y = -around; y < rowCount + around; ++y) {
                rows.read(first[1] + y, first[2] + z, tile.input(-around, y, z));
            }
        }
        tile.addAll(first, factor);
        access::RowWriter<T> writer(target, plan);
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            T* const out = writer.open(segment);
            tile.divide(segment.row - block.rows().begin, segment.plane - block.planes().begin, out);
            round(out, segment.count);
            writer.flush();
        });
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    runApart(filter, [&](const ImageModel& input, ImageModel& target) {
        inWorkType(input,
                   [&](auto tag) { smooth<Filter, typename decltype(tag)::type>(filter, input, target, level); });
    });
}

template <class Filter, class T>
std::size_t memoryOfTiles(const Filter& filter) {
    const access::Plan plan = cut(filter);
    const auto [inPlane, ofPlanes] = radiiOf(filter);
    const std::array<std::size_t, 3> extents = largestExtents(plan);
    const PatchTile<T> tile(extents, inPlane, ofPlanes, edgeKernels<T>(SCALAR), sumKernels<T>(SCALAR), nullptr);
    return tileMemory<T>(plan, tile.samples(), extents[0], filter.getMaximumThreads());
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    return (worksInDouble(input) ? memoryOfTiles<Filter, double>(filter) : memoryOfTiles<Filter, float>(filter)) +
           access::writeApartMemory(input, filter.getOutputImage(), chosenType(filter));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes =
    definitionOf<NonLocalMeansFilter2d>("Averages voxels whose surroundings are alike, plane by plane.");
constexpr auto inVolumes =
    definitionOf<NonLocalMeansFilter3d>("Averages voxels of a volume whose surroundings are alike.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(NonLocalMeansFilter2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(NonLocalMeansFilter3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::smoothing
