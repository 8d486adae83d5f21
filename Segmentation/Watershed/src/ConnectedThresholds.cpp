// What is connected through a range of grey values with something chosen: markers, or what is brighter still.

#include <type_traits>

#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/image/ImageHeader.h>
#include <rix/morphology/ReconstructionByDilation2d.h>
#include <rix/morphology/ReconstructionByDilation3d.h>
#include <rix/rules/CompareRules.h>
#include <rix/segmentation/ConnectedThreshold2d.h>
#include <rix/segmentation/ConnectedThreshold3d.h>
#include <rix/segmentation/HysteresisThresholding2d.h>
#include <rix/segmentation/HysteresisThresholding3d.h>
#include <rix/settings/Settings.h>

#include "GridRows.h"

namespace rix::segmentation {

namespace {

/// The connected threshold, which has markers; else hysteresis.
template <class Filter>
constexpr bool hasMarkers = requires(const Filter& filter) { filter.getInputMarkerImage(); };
template <class Filter>
constexpr bool ofVolumes = requires { Filter::CONNECTIVITY_26; };
template <class Filter>
using Reconstruction = std::conditional_t<ofVolumes<Filter>, morphology::ReconstructionByDilation3d,
                                          morphology::ReconstructionByDilation2d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputGrayImage, "The image whose voxels are compared.", AddRulesForRealImage());
    const AddRuleEnforceLike binary(filter.inputGrayImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY});
    if constexpr (hasMarkers<Filter>) {
        properties.input(filter.inputMarkerImage, "What must be connected: not 0.", AddRulesForRealImage(),
                         AddRuleAssertSameSize(filter.inputGrayImage));
    }
    filter.lowerThreshold = hasMarkers<Filter> ? 0.0 : 85.0;
    properties.input(filter.lowerThreshold, "The least value that counts.", AddRuleAssertFinite());
    filter.upperThreshold = hasMarkers<Filter> ? 255.0 : 170.0;
    if constexpr (hasMarkers<Filter>) {
        properties.input(filter.upperThreshold, "The largest value that counts.", AddRuleAssertFinite());
    } else {
        properties.input(filter.upperThreshold, "The value from which on voxels count by themselves.",
                         AddRuleAssertFinite(), AddRuleCompare(CompareRelation::GreaterOrEqual, filter.lowerThreshold));
    }
    takeAllNeighbors(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    if constexpr (hasMarkers<Filter>) {
        properties.output(filter.outputBinaryImage, "1 for what is connected, 0 elsewhere.", AddRuleAssertNotNull(),
                          AddRuleDisjointFrom(filter.inputGrayImage), AddRuleDisjointFrom(filter.inputMarkerImage),
                          binary);
    } else {
        properties.output(filter.outputBinaryImage, "1 for what is connected, 0 elsewhere.", AddRuleAssertNotNull(),
                          AddRuleDisjointFrom(filter.inputGrayImage), binary);
    }
}

/// The header of a binary image like another one.
ImageHeader binaryHeader(const ImageModel& image) {
    ImageHeader header = helper::headerOf(image);
    header.voxelType = RIX_UINT8;
    header.interpretation = RIX_BINARY;
    header.colorInterpretation = UNKNOWN;
    return header;
}

/// Sets of a row what may be reached, and where that begins.
template <class Filter>
void compareRow(const Filter& filter, const ImageModel& image, const access::RowSegment& segment, std::uint8_t* within,
                std::uint8_t* starts) {
    const double lower = filter.getLowerThreshold();
    const double upper = filter.getUpperThreshold();
    withRow(access::Reals{}, image, segment, [&](const auto* samples) {
        for (std::size_t x = 0; x < segment.count; ++x) {
            const auto value = static_cast<double>(samples[x]);
            const bool isHigh = value >= upper;
            within[x] = value >= lower && (!hasMarkers<Filter> || value <= upper) ? 1 : 0;
            starts[x] = isHigh ? 1 : 0;
        }
    });
    if constexpr (hasMarkers<Filter>) {
        withRow(access::Reals{}, *filter.getInputMarkerImage(), segment, [&](const auto* samples) {
            for (std::size_t x = 0; x < segment.count; ++x) {
                starts[x] = samples[x] != 0 && !isNotANumber(samples[x]) ? within[x] : 0;
            }
        });
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const access::Steps steps(context, {0.3, 0.7});
    const ImageModel& image = *filter.getInputGrayImage();
    const HeaderImage like(binaryHeader(image));
    access::TemporaryImage within(like);
    access::TemporaryImage starts(like);
    if (!helper::applyHeader(like.header(), within.image())) {
        throw ResizeImageError("A temporary image cannot be calibrated.");
    }
    algorithms::readAsItWas(filter, [&](const ImageModel& asItWas) {
        const access::Plan plan = access::cutBands(helper::getExtents(asItWas), {.nanosecondsPerVoxel = 1.0});
        access::run(context, plan, [&](const access::Block& block) {
            plan.forEachSegment(block, [&](const access::RowSegment& segment) {
                access::RowWriter<std::uint8_t> withinRow(within.image());
                access::RowWriter<std::uint8_t> startsRow(starts.image());
                std::uint8_t* const to = withinRow.open(segment);
                compareRow(filter, asItWas, segment, to, startsRow.open(segment));
                withinRow.flush();
                startsRow.flush();
            });
        });
    });
    Reconstruction<Filter> reconstruction;
    reconstruction.setInputMarkerImage(&starts.image());
    reconstruction.setInputImage(&within.image());
    reconstruction.setNeighborhood(filter.getNeighborhood());
    reconstruction.setOutputImage(filter.getOutputBinaryImage());
    algorithms::runChild(filter, reconstruction, level);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputGrayImage();
    const HeaderImage like(binaryHeader(image));
    Reconstruction<Filter> reconstruction;
    reconstruction.settings() = filter.settings();
    reconstruction.setInputMarkerImage(&like);
    reconstruction.setInputImage(&like);
    reconstruction.setNeighborhood(filter.getNeighborhood());
    reconstruction.setOutputImage(filter.getOutputBinaryImage());
    return 2 * access::TemporaryImage::bytes(image, RIX_UINT8) + reconstruction.describe().extraMemory;
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Composite,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,  // it depends on the number of runs
    };
}

constexpr auto connectedInPlanes = definitionOf<ConnectedThreshold2d>(
    "Finds what is connected with markers through a range of grey values in each plane.");
constexpr auto connectedInVolumes = definitionOf<ConnectedThreshold3d>(
    "Finds what is connected with markers through a range of grey values in each volume.");
constexpr auto hysteresisInPlanes = definitionOf<HysteresisThresholding2d>(
    "Finds what is bright, and what is less bright if it is connected with it, in each plane.");
constexpr auto hysteresisInVolumes = definitionOf<HysteresisThresholding3d>(
    "Finds what is bright, and what is less bright if it is connected with it, in each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM_WITH(ConnectedThreshold2d, algorithms::InputMeaning, connectedInPlanes)
RIX_DEFINE_ALGORITHM_WITH(ConnectedThreshold3d, algorithms::InputMeaning, connectedInVolumes)
RIX_DEFINE_ALGORITHM_WITH(HysteresisThresholding2d, algorithms::InputMeaning, hysteresisInPlanes)
RIX_DEFINE_ALGORITHM_WITH(HysteresisThresholding3d, algorithms::InputMeaning, hysteresisInVolumes)

}  // namespace rix::segmentation
