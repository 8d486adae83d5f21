// Superpixels of planes and supervoxels of volumes.

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>

#include <rix/access/Steps.h>
#include <rix/algorithms/Definition.h>
#include <rix/analysis/GreyCounts.h>
#include <rix/image/ImageHeader.h>
#include <rix/rules/CompareRules.h>
#include <rix/segmentation/Superpixels2d.h>
#include <rix/segmentation/Superpixels3d.h>

#include "ConnectedParts.h"
#include "GridRows.h"
#include "PartSizeRule.h"
#include "SlicClusters.h"

namespace rix::segmentation {

namespace {

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, Superpixels3d> ? 3 : 2;

template <class Filter>
ImageHeader headerOfLabels(const Filter& filter) {
    ImageHeader header = helper::headerOf(*filter.getInputImage());
    header.extents[SPECTRAL_SERIES] = 1;
    header.voxelType = RIX_UINT32;
    header.interpretation = RIX_LABEL;
    header.colorInterpretation = UNKNOWN;
    header.labelScope = axesOf<Filter> == 3 ? LabelScope::Volume : LabelScope::Plane;
    return header;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is divided, with all its channels.", AddRulesForRealImage(),
                     AddRulePartSize(axesOf<Filter>));
    filter.numberOfSegments = 200;
    properties.input(filter.numberOfSegments, "How many parts there shall be, about.",
                     AddRuleLimitedValue<std::int32_t>(1, CHECK_GREATER_OR_EQUAL));
    filter.compactness = 10.0;
    properties.input(filter.compactness, "What difference of values a distance as large as a part weighs.",
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL), AddRuleAssertFinite());
    filter.numberOfIterations = 10;
    properties.input(filter.numberOfIterations, "How often voxels choose their part.",
                     AddRuleInRange<std::int32_t>(1, 1000, Bound::Included, Bound::Included));
    properties.output(filter.outputLabelImage, "The numbers of the parts, from 1 on.", AddRuleAssertNotNull(),
                      AddRuleCompare(CompareRelation::NotEqual, filter.inputImage),
                      AddRuleDisjointFrom(filter.inputImage),
                      AddRuleEnforceHeader([&filter] { return headerOfLabels(filter); },
                                           "extents and calibration of the input, with one channel of labels"));
}

std::array<std::size_t, 3> partExtents(const ImageModel& image, std::size_t axes) {
    return {image.getNumOf(COLUMNS), image.getNumOf(ROWS), axes == 3 ? image.getNumOf(PLANS) : 1};
}

template <class Filter>
SlicGrid gridOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputImage();
    return {partExtents(image, axesOf<Filter>), axesOf<Filter>, static_cast<std::size_t>(filter.getNumberOfSegments()),
            image.getNumOf(SPECTRAL_SERIES)};
}

/// Makes values integers of at most 2^22, the same for the whole image.
struct ValueScale {
    double lowest = 0.0;
    double highest = 0.0;
    double factor = 1.0;
    bool isExact = true;  ///< integers of 16 bits stay what they are

    template <class T>
    float operator()(T value) const {
        if (isExact) {
            return static_cast<float>(value);
        }
        const auto number = static_cast<double>(value);
        // NaN becomes the lowest value.
        const double within = number > lowest ? std::min(number, highest) : lowest;
        return static_cast<float>(std::nearbyint((within * 0.5 - lowest * 0.5) * factor * 2.0));
    }
};

/// A step of the run.
ValueScale scaleOf(access::ExecutionContext& context, const ImageModel& image, OptimLevelType level) {
    constexpr double steps = 0x1p22;
    const VoxelTypes type = image.getVoxelType();
    ValueScale scale;
    scale.isExact = image.getInterpretation() == RIX_BINARY ||
                    (access::contains(access::Integers{}, type) && helper::getSizeOf(type) <= 2);
    if (!scale.isExact) {
        const analysis::GreyRange range = analysis::extremesOf(context, level, image);
        scale.lowest = range.hasValues() ? range.minimum : 0.0;
        scale.highest = range.hasValues() ? range.maximum : 0.0;
        // The span of doubles may be larger than the largest, its half is not; tiny ones have a finite factor.
        const double half = std::max(scale.highest * 0.5 - scale.lowest * 0.5, 0x1p-960);
        scale.factor = steps * 0.5 / half;
    }
    return scale;
}

/// The values of a part, channel after channel: a step of the run.
void readValues(access::ExecutionContext& context, const ImageModel& image, std::size_t axes, std::size_t part,
                const SlicGrid& grid, const ValueScale& scale, float* values) {
    const access::Plan plan =
        access::cutBands({grid.extents[0], grid.rows() * grid.channels, 1, 1, 1}, {.nanosecondsPerVoxel = 1.0});
    Extents extents = helper::getExtents(image);
    extents[SPECTRAL_SERIES] = 1;
    access::run(context, plan, [&](const access::Block& block) {
        for (std::size_t i = block.rows().begin; i < block.rows().end; ++i) {
            access::RowSegment segment = rowOfPart(extents, axes, part, i % grid.rows());
            segment.spectral = i / grid.rows();
            float* const out = values + i * grid.extents[0];
            withRow(access::Reals{}, image, segment,
                    [&](const auto* samples) { std::transform(samples, samples + segment.count, out, scale); });
        }
    });
}

void writeNumbers(access::ExecutionContext& context, ImageModel& output, std::size_t axes, std::size_t part,
                  const SlicGrid& grid, const std::uint32_t* numbers) {
    const access::Plan plan = access::cutBands({grid.extents[0], grid.rows(), 1, 1, 1}, {.nanosecondsPerVoxel = 0.3});
    const Extents extents = helper::getExtents(output);
    access::run(context, plan, [&](const access::Block& block) {
        for (std::size_t row = block.rows().begin; row < block.rows().end; ++row) {
            writeLabels(output, rowOfPart(extents, axes, part, row), numbers + row * grid.extents[0]);
        }
    });
}

/// Bytes of so many elements for each voxel of a part; the most there is where that is no size.
std::size_t scratchBytes(const SlicGrid& grid, std::size_t bytesPerVoxel) {
    std::size_t bytes = 0;
    return helper::checkedMultiply(grid.voxels(), bytesPerVoxel, bytes) ? bytes
                                                                        : std::numeric_limits<std::size_t>::max() / 4;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    constexpr std::size_t axes = axesOf<Filter>;
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& image = *filter.getInputImage();
    ImageModel& output = *filter.getOutputLabelImage();
    const std::size_t parts = partCount(helper::getExtents(output), axes);
    const access::Steps steps(context, {0.05, 0.95});
    const ValueScale scale = scaleOf(context, image, level);
    const access::Steps ofParts(context, parts);
    const SlicGrid grid = gridOf(filter);
    const access::Scratch values(scratchBytes(grid, grid.channels * sizeof(float)));
    const access::Scratch numbers(scratchBytes(grid, sizeof(std::uint32_t)));
    const access::Scratch roots(scratchBytes(grid, sizeof(std::uint32_t)));
    const double ratio = filter.getCompactness() / grid.side * scale.factor;
    const double smallest = static_cast<double>(grid.voxels()) / static_cast<double>(grid.centers()) / 4.0;
    for (std::size_t part = 0; part < parts; ++part) {
        const auto iterations = static_cast<std::size_t>(filter.getNumberOfIterations());
        const access::Steps ofPart(context, iterations + 2);
        readValues(context, image, axes, part, grid, scale, values.as<float>());
        SlicClusters clusters(grid, values.as<float>(), ratio * ratio, level);
        for (std::size_t i = 1; i < iterations; ++i) {
            clusters.move(context);
        }
        clusters.assign(context, numbers.as<std::uint32_t>());
        numberConnectedParts(grid.extents, smallest, numbers.as<std::uint32_t>(), roots.as<std::uint32_t>());
        writeNumbers(context, output, axes, part, grid, numbers.as<std::uint32_t>());
    }
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    using access::Scratch;
    const SlicGrid grid = gridOf(filter);
    const std::size_t threads = filter.getMaximumThreads();
    return Scratch::held(scratchBytes(grid, grid.channels * sizeof(float))) +
           2 * Scratch::held(scratchBytes(grid, sizeof(std::uint32_t))) + SlicClusters::bytes(grid, threads) +
           threads * rowBytes(filter.getInputImage());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<Superpixels2d>("Divides each plane into compact parts of similar values.");
constexpr auto inVolumes = definitionOf<Superpixels3d>("Divides each volume into compact parts of similar values.");

}  // namespace

RIX_DEFINE_ALGORITHM(Superpixels2d, inPlanes)
RIX_DEFINE_ALGORITHM(Superpixels3d, inVolumes)

}  // namespace rix::segmentation
