// The basins of the minima of an image: what has minima is found by the operations of morphology, then flooded.

#include <cmath>
#include <limits>
#include <optional>

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/WholeImage.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/SampleMemory.h>
#include <rix/morphology/ExtendedMinima2d.h>
#include <rix/morphology/ExtendedMinima3d.h>
#include <rix/morphology/RegionalMinima2d.h>
#include <rix/morphology/RegionalMinima3d.h>
#include <rix/rules/When.h>
#include <rix/segmentation/Watershed2d.h>
#include <rix/segmentation/Watershed3d.h>
#include <rix/settings/Settings.h>

#include "MarkerProperties.h"
#include "PartSizeRule.h"
#include "RegionNumbers.h"
#include "WatershedFlood.h"

namespace rix::segmentation {

namespace {

using access::TemporaryImage;
using access::TemporaryMemory;

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, Watershed3d>;
template <class Filter>
using MinimaOf = std::conditional_t<ofVolumes<Filter>, morphology::RegionalMinima3d, morphology::RegionalMinima2d>;
template <class Filter>
using DeepMinimaOf = std::conditional_t<ofVolumes<Filter>, morphology::ExtendedMinima3d, morphology::ExtendedMinima2d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputGrayImage, "What is divided into basins.", AddRulesForRealImage(),
                     AddRulePartSize(ofVolumes<Filter> ? 3 : 2));
    declareFloodMask(filter, properties, "Optional: there are no basins where it is 0.");
    const auto notNegative = [&](Property<double>& property, const char* description) {
        property = 0.0;
        properties.input(property, description, AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL),
                         AddRuleAssertFinite());
    };
    notNegative(filter.minimumDepth, "Minima that are no deeper get no basin.");
    notNegative(filter.minimumArea, "The least voxels of a basin.");
    takeAllNeighbors(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.input(filter.watershedLines, "Whether lines lie between basins.");
    properties.output(filter.outputLabelImage, "The numbers of the basins.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputGrayImage),
                      AddRuleWhenSet(filter.inputMaskImage, AddRuleDisjointFrom(filter.inputMaskImage)),
                      AddRuleEnforceLike(filter.inputGrayImage,
                                         {.voxelType = RIX_UINT32,
                                          .interpretation = RIX_LABEL,
                                          .labelScope = ofVolumes<Filter> ? LabelScope::Volume : LabelScope::Plane}));
}

/// The type of an image in which what lies outside a mask is NaN.
VoxelTypes maskedType(const ImageModel& image) {
    const VoxelTypes type = image.getVoxelType();
    return type == RIX_FLOAT32 || helper::getSizeOf(type) <= 2 ? RIX_FLOAT32 : RIX_FLOAT64;
}

/// A grey image with walls where the mask is 0: a step of the run.
void maskWithWalls(access::ExecutionContext& context, const ImageModel& image, const ImageModel& mask,
                   ImageModel& masked) {
    access::dispatch(access::Floatings{}, masked.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Plan plan = access::cutBands(helper::getExtents(image), {.nanosecondsPerVoxel = 1.0});
        access::run(context, plan, [&](const access::Block& block) {
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                access::RowReader<T> reader(image);
                access::RowWriter<T> writer(masked);
                T* const out = writer.open(segment);
                std::copy_n(reader.read(segment), segment.count, out);
                forEachMasked(&mask, segment, [&](std::size_t x) { out[x] = std::numeric_limits<T>::quiet_NaN(); });
                writer.flush();
            });
        });
    });
}

/// The contrast from which on minima count: of integers depths are integers.
template <class Filter>
double contrastOf(const Filter& filter) {
    const bool isReal = access::contains(access::Floatings{}, filter.getInputGrayImage()->getVoxelType());
    return isReal ? filter.getMinimumDepth() : std::floor(filter.getMinimumDepth());
}

/// Calls `use(algorithm)` with what finds the minima that count.
template <class Filter, class Use>
auto withMinima(const Filter& filter, const ImageModel& image, ImageModel* marks, const Use& use) {
    const auto setUp = [&](auto& minima) {
        minima.setInputImage(&image);
        minima.neighborhood = static_cast<int>(filter.getNeighborhood());
        minima.setOutputBinaryImage(marks);
    };
    if (contrastOf(filter) > 0.0) {
        DeepMinimaOf<Filter> minima;
        minima.setContrast(contrastOf(filter));
        setUp(minima);
        return use(minima);
    }
    MinimaOf<Filter> minima;
    setUp(minima);
    return use(minima);
}

/// Marks what no flood comes to: a step of the run.
void markUnreached(access::ExecutionContext& context, const ImageModel& relief, const std::uint32_t* labels,
                   std::uint8_t* marks) {
    const Extents extents = helper::getExtents(relief);
    const access::Plan plan = access::cutBands(extents, {.nanosecondsPerVoxel = 1.0});
    access::run(context, plan, [&](const access::Block& block) {
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            const std::size_t first = access::detail::offsetOf(segment, extents);
            withRow(access::Reals{}, relief, segment, [&](const auto* samples) {
                for (std::size_t x = 0; x < segment.count; ++x) {
                    if (labels[first + x] == 0 && !isNotANumber(samples[x])) {
                        marks[first + x] = 1;
                    }
                }
            });
        });
    });
}

/// The samples of a temporary image.
template <class T>
T* samplesOf(TemporaryMemory& image) {
    return reinterpret_cast<T*>(image.image().getInternalBuffer());
}

/// Whether the output can be looked at while it is made.
bool isOpen(const ImageModel* output) {
    return output != nullptr && helper::contiguousSamples(*output) != nullptr;
}

template <class Filter>
void divide(Filter& filter, const ImageModel& relief, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const access::Steps steps(context, {0.3, 0.05, 0.55, 0.02, 0.08});
    ImageModel& output = *filter.getOutputLabelImage();
    const Extents extents = helper::getExtents(relief);
    const Neighbors neighbors = neighborsOf(filter.getNeighborhood());
    TemporaryMemory marks(relief, RIX_UINT8);
    withMinima(filter, relief, &marks.image(), [&](auto& minima) { algorithms::runChild(filter, minima, level); });
    TemporaryMemory seeds(relief, RIX_UINT32);
    seeds.image().setInterpretation(RIX_LABEL);
    std::optional<TemporaryMemory> apart;
    if (!isOpen(&output)) {
        apart.emplace(seeds.image());
    }
    ImageModel& basins = apart ? apart->image() : output;
    const auto* const labels = reinterpret_cast<const std::uint32_t*>(helper::contiguousSamples(basins));
    auto* const numbers = samplesOf<std::uint32_t>(seeds);
    const auto number = [&] { numberRegions(context, samplesOf<std::uint8_t>(marks), numbers, extents, neighbors); };
    const auto flood = [&](bool lines) {
        return floodFromMarkers(context, {relief, nullptr, seeds.image(), basins, neighbors, lines});
    };
    const bool lines = filter.getWatershedLines() == Filter::LINES;
    number();
    const std::size_t unreached = flood(false);
    if (unreached != 0) {  // nothing lies lower, or higher, than what was not reached
        markUnreached(context, relief, labels, samplesOf<std::uint8_t>(marks));
        number();
    }
    if (unreached != 0 || lines) {
        flood(lines);
    }
    while (filter.getMinimumArea() > 1.0 &&
           dropSmallRegions(context, labels, filter.getMinimumArea(), numbers, extents, neighbors)) {
        flood(lines);
    }
    if (apart) {
        access::transformRows<std::uint32_t, std::uint32_t>(
            context, basins, output, 0.2,
            [](const std::uint32_t* in, std::uint32_t* out, std::size_t count) { std::copy_n(in, count, out); });
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    const ImageModel& image = *filter.getInputGrayImage();
    const ImageModel* const mask = filter.getInputMaskImage();
    if (mask == nullptr) {
        return divide(filter, image, level);
    }
    const access::Steps steps(filter.executionContext(), {0.05, 0.95});
    TemporaryImage masked(image, maskedType(image));
    masked.image().setInterpretation(RIX_VALUE);
    maskWithWalls(filter.executionContext(), image, *mask, masked.image());
    divide(filter, masked.image(), level);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputGrayImage();
    const ImageModel* const mask = filter.getInputMaskImage();
    ImageHeader header = helper::headerOf(image);
    header.voxelType = maskedType(image);
    header.interpretation = RIX_VALUE;
    const HeaderImage masked(header);
    const ImageModel& relief = mask != nullptr ? masked : image;
    HeaderImage marks;
    const std::size_t minima = withMinima(filter, relief, &marks, [&](auto& child) {
        child.settings() = filter.settings();
        return child.describe().extraMemory;
    });
    const Neighbors neighbors = neighborsOf(filter.getNeighborhood());
    const std::size_t threads = filter.getMaximumThreads();
    const Extents extents = helper::getExtents(image);
    const std::size_t flood =
        std::max(floodFromMarkersBytes(relief, nullptr, nullptr, neighbors, threads),
                 filter.getMinimumArea() > 1.0 ? dropSmallRegionsBytes(extents, neighbors, threads) : std::size_t{0});
    const ImageModel* const output = filter.getOutputLabelImage();
    const bool isApart = output != nullptr && helper::getExtents(*output) == extents && !isOpen(output);
    return (mask != nullptr ? TemporaryImage::bytes(image, header.voxelType) + rowBytes(mask) : 0) +
           TemporaryMemory::bytes(image, RIX_UINT8) +
           std::max(minima, (isApart ? 2 : 1) * TemporaryMemory::bytes(image, RIX_UINT32) + flood);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Composite,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes =
    definitionOf<Watershed2d>("Divides each plane of a grey image into the basins of its minima.");
constexpr auto ofAllVolumes =
    definitionOf<Watershed3d>("Divides each volume of a grey image into the basins of its minima.");

}  // namespace

RIX_DEFINE_ALGORITHM(Watershed2d, ofPlanes)
RIX_DEFINE_ALGORITHM(Watershed3d, ofAllVolumes)

}  // namespace rix::segmentation
