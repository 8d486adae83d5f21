// The shortest ways within a mask: a flood whose levels rise by the length of each step.

#include <array>
#include <cmath>
#include <limits>
#include <type_traits>

#include <rix/access/Exchange.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Definition.h>
#include <rix/morphology/GeodesicDistanceMap2d.h>
#include <rix/morphology/GeodesicDistanceMap3d.h>
#include <rix/rules/CompareRules.h>

#include "distance/SpacingRule.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

using access::Block;
using access::NeighbourSet;
using access::RowSegment;
using access::Scratch;

constexpr double noWay = std::numeric_limits<double>::infinity();
constexpr double nanosecondsPerVoxel = 40.0;

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, GeodesicDistanceMap3d> ? 3 : 2;

/// What the mask meant before an output took its place.
struct GeodesicState : algorithms::AbstractPrivateImplementation {
    Interpretations mask = RIX_VALUE;
};

template <class Filter>
void rememberMask(Filter& filter) {
    const ImageModel* const mask = filter.getInputMaskImage();
    algorithms::stateOf<GeodesicState>(filter).mask = mask != nullptr ? mask->getInterpretation() : RIX_VALUE;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputMarkerImage, "Where ways begin: what is not 0.", AddRulesForRealImage());
    properties.input(filter.inputMaskImage, "Where ways lead: what is not 0.", AddRulesForRealImage(),
                     AddRuleAssertSameSize(filter.inputMarkerImage));
    properties.input(filter.lengthUnit, "Whether lengths are in voxels or in the mask's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleSpacings>(
        filter.inputMaskImage, axesOf<Filter>, [&filter] { return filter.getLengthUnit() == Filter::WORLD; },
        [] { return false; }));
    takeAllNeighbours(filter);
    properties.input(filter.neighborhood, "Which voxels a step leads to.");
    properties.output(
        filter.outputDistanceImage, "The lengths of the shortest ways.", AddRuleAssertNotNull(),
        AddRuleDisjointFrom(filter.inputMarkerImage),
        AddRuleEnforceLike(filter.inputMaskImage, {.voxelType = RIX_FLOAT32, .interpretation = RIX_VALUE}));
}

/// Levels rise by steps, and nothing leads into a wall.
struct Walking {
    using Key = std::uint8_t;
    using Level = double;
    Level offered(Level level, Key /*from*/, Key to, std::size_t step) const {
        return to != 0 ? level + lengths[step] : noWay;
    }
    std::array<double, 26> lengths{};
};

/// The lengths of the steps of a frame.
std::array<double, 26> lengthsOf(const TileFrame& frame, const std::array<double, 3>& spacing) {
    std::array<double, 26> lengths{};
    for (std::size_t i = 0; i < frame.steps().size(); ++i) {
        const TilePlace& step = frame.steps()[i];
        const std::array<double, 3> way{static_cast<double>(step.x) * spacing[0],
                                        static_cast<double>(step.y) * spacing[1],
                                        static_cast<double>(step.z) * spacing[2]};
        lengths[i] = std::sqrt(way[0] * way[0] + way[1] * way[1] + way[2] * way[2]);
    }
    return lengths;
}

/// A mask and the ways within it, in storage order.
class Ways {
public:
    Ways(const Extents& extents, const FloodSpace& space, const std::array<double, 3>& spacing)
        : m_extents(extents),
          m_space(space),
          m_spacing(spacing),
          m_lengths(voxelsOf(extents) * sizeof(double)),
          m_mask(voxelsOf(extents)) {}

    static std::size_t bytes(const Extents& extents, const FloodSpace& space, std::size_t threads) {
        return Scratch::held(voxelsOf(extents) * sizeof(double)) + Scratch::held(voxelsOf(extents)) +
               floodTileBytes<Walking>(tilesOf(extents, space), space, threads);
    }

    double* lengths() const { return m_lengths.as<double>(); }
    std::uint8_t* mask() const { return m_mask.as<std::uint8_t>(); }

    void follow(access::ExecutionContext& context) const {
        access::exchangeUntilStable(context, tilesOf(m_extents, m_space), m_space.axes,
                                    [&](const Block& block, bool isFirst) { return visit(block, isFirst); });
    }

private:
    static std::size_t voxelsOf(const Extents& extents) {
        std::size_t voxels = 1;
        for (const std::size_t extent : extents) {
            voxels *= extent;
        }
        return voxels;
    }
    static access::Plan tilesOf(const Extents& extents, const FloodSpace& space) {
        constexpr std::size_t bytesPerVoxel = 2 * (sizeof(double) + 1) + 5;  // also in the tile, places and queue
        return access::cutTiles(extents, {space.axes, bytesPerVoxel, nanosecondsPerVoxel});
    }

    NeighbourSet visit(const Block& block, bool isFirst) const {
        const TileFrame frame(block, m_extents, m_space);
        FloodTile<Walking> tile(frame, {lengthsOf(frame, m_spacing)});
        frame.forEachRow(false, [&](const TileFrame::Row& row) {
            std::fill_n(tile.levels() + row.cell, frame.pitch(), noWay);
            std::fill_n(tile.grounds() + row.cell, frame.pitch(), std::uint8_t{0});
            std::copy_n(lengths() + row.offset, row.count, tile.levels() + row.cell + row.lead);
            std::copy_n(mask() + row.offset, row.count, tile.grounds() + row.cell + row.lead);
        });
        const auto taken = tile.take();
        if (isFirst) {
            frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t) {
                for (std::size_t x = cell; x < cell + frame.columns(); ++x) {
                    if (tile.levels()[x] == 0) {
                        tile.push(x);
                    }
                }
            });
        } else if (taken.lowered == 0) {
            return 0;
        }
        tile.spread();
        frame.forEachRowOfVoxels([&](std::size_t cell, std::size_t offset) {
            std::copy_n(tile.levels() + cell, frame.columns(), lengths() + offset);
        });
        return tile.give();
    }

    Extents m_extents;
    FloodSpace m_space;
    std::array<double, 3> m_spacing;
    Scratch m_lengths;
    Scratch m_mask;
};

/// Calls `take(offset, samples, count)` for all rows of an image: a step of the run.
template <class Take>
void forEachRowOfImage(access::ExecutionContext& context, const ImageModel& image, const Take& take) {
    access::dispatch(access::Reals{}, image.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const Extents extents = helper::getExtents(image);
        forEachRowOf(context, extents, sizeof(T), [&](const RowSegment& segment, std::size_t offset) {
            access::RowReader<T> reader(image);
            take(offset, reader.read(segment), segment.count);
        });
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    access::ExecutionContext& context = filter.executionContext();
    const auto& state = algorithms::stateOf<GeodesicState>(filter);
    const ImageModel& maskImage = *filter.getInputMaskImage();
    const Extents extents = helper::getExtents(maskImage);
    std::array<double, 3> spacing{1, 1, 1};
    for (std::size_t axis = 0; axis < axesOf<Filter> && filter.getLengthUnit() == Filter::WORLD; ++axis) {
        spacing[axis] = std::fabs(maskImage.getSpacingOf(static_cast<Components>(axis)));
    }
    const access::Steps steps(context, {0.05, 0.05, 0.85, 0.05});
    const Ways ways(extents, floodSpaceOf(filter.getNeighborhood()), spacing);
    access::readAsItWas(maskImage, state.mask, [&](const ImageModel& image) {
        forEachRowOfImage(context, image, [&](std::size_t offset, const auto* samples, std::size_t count) {
            for (std::size_t x = 0; x < count; ++x) {
                ways.mask()[offset + x] = samples[x] != 0 && !isNaN(samples[x]) ? 1 : 0;
            }
        });
    });
    const ImageModel& marker = *filter.getInputMarkerImage();
    forEachRowOfImage(context, marker, [&](std::size_t offset, const auto* samples, std::size_t count) {
        for (std::size_t x = 0; x < count; ++x) {
            const bool isStart = ways.mask()[offset + x] != 0 && samples[x] != 0 && !isNaN(samples[x]);
            ways.lengths()[offset + x] = isStart ? 0 : noWay;
        }
    });
    ways.follow(context);
    forEachRowOf(context, extents, sizeof(double), [&](const RowSegment& segment, std::size_t offset) {
        access::RowWriter<float> writer(*filter.getOutputDistanceImage());
        float* const out = writer.open(segment);
        for (std::size_t x = 0; x < segment.count; ++x) {
            out[x] = static_cast<float>(ways.lengths()[offset + x]);
        }
        writer.flush();
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& mask = *filter.getInputMaskImage();
    const std::size_t threads = filter.getMaximumThreads();
    return Ways::bytes(helper::getExtents(mask), floodSpaceOf(filter.getNeighborhood()), threads) +
           std::max(convertedRowBytes(mask, threads), convertedRowBytes(*filter.getInputMarkerImage(), threads));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &rememberMask<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<GeodesicDistanceMap2d>(
    "Gives the length of the shortest ways from markers through a mask in each "
    "plane.");
constexpr auto inVolumes = definitionOf<GeodesicDistanceMap3d>(
    "Gives the length of the shortest ways from markers through a mask in each "
    "volume.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(GeodesicDistanceMap2d, GeodesicState, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(GeodesicDistanceMap3d, GeodesicState, inVolumes)

}  // namespace rix::morphology
