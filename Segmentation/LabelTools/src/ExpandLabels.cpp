// Labels that grow to where others are nearer.

#include <type_traits>

#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageHeader.h>
#include <rix/morphology/DistanceMap2d.h>
#include <rix/morphology/DistanceMap3d.h>
#include <rix/segmentation/ExpandLabels2d.h>
#include <rix/segmentation/ExpandLabels3d.h>
#include <rix/settings/Settings.h>

namespace rix::segmentation {

namespace {

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, ExpandLabels3d> ? 3 : 2;
template <class Filter>
using DistanceOf =
    std::conditional_t<std::is_same_v<Filter, ExpandLabels3d>, morphology::DistanceMap3d, morphology::DistanceMap2d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    constexpr double farthest = 2147483648.0;
    properties.input(filter.inputLabelImage, "The labels.", AddRulesForIntegerImage());
    filter.distance = 1.0;
    properties.input(filter.distance, "How far labels grow.");
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        const algorithms::AddRuleLength length(
            {filter.inputLabelImage, filter.lengthUnit, static_cast<Components>(axis)}, farthest);
        length(filter.distance);
    }
    properties.input(filter.lengthUnit, "Whether the distance is in voxels or in the image's unit.");
    properties.output(filter.outputLabelImage, "The labels, grown.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputLabelImage),
                      AddRuleEnforceLike(filter.inputLabelImage, {.interpretation = RIX_LABEL}));
}

/// The header of an image of labels like another image.
ImageHeader labelHeader(const ImageModel& image) {
    ImageHeader header = helper::headerOf(image);
    header.interpretation = RIX_LABEL;
    return header;
}

template <class Filter>
void setUp(const Filter& filter, DistanceOf<Filter>& child, const ImageModel& labels, ImageModel& distances,
           ImageModel& nearest) {
    child.setInputObjectImage(&labels);
    child.setSide(DistanceOf<Filter>::OUTSIDE);
    child.setLengthUnit(filter.getLengthUnit());
    child.setOutputDistanceImage(&distances);
    child.setOutputNearestImage(&nearest);
}

/// Calls `use(segment)` for the rows of an image: a step of the run.
template <class Use>
void forEachRow(access::ExecutionContext& context, const ImageModel& image, const Use& use) {
    const access::Plan plan = access::cutBands(helper::getExtents(image), {.nanosecondsPerVoxel = 1.0});
    access::run(context, plan, [&](const access::Block& block) { plan.forEachSegment(block, use); });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const access::Steps steps(context, {0.05, 0.9, 0.05});
    const ImageModel& input = *filter.getInputLabelImage();
    // Whatever the input means, which may get another meaning with the output, these are labels.
    const HeaderImage like(labelHeader(input));
    access::TemporaryImage labels(like);
    access::TemporaryImage distances(like, RIX_FLOAT32);
    access::TemporaryImage nearest(like);
    if (!helper::applyHeader(like.header(), labels.image())) {
        throw ResizeImageError("A temporary image of labels cannot be calibrated.");
    }
    access::dispatch(access::Integers{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        forEachRow(context, input, [&](const access::RowSegment& segment) {
            access::RowReader<T> reader(input);
            access::RowWriter<T> writer(labels.image());
            std::copy_n(reader.read(segment), segment.count, writer.open(segment));
            writer.flush();
        });
        DistanceOf<Filter> child;
        setUp(filter, child, labels.image(), distances.image(), nearest.image());
        algorithms::runChild(filter, child, level);
        const double farthest = filter.getDistance();
        forEachRow(context, input, [&](const access::RowSegment& segment) {
            access::RowReader<float> lengths(distances.image());
            access::RowReader<T> reader(nearest.image());
            access::RowWriter<T> writer(*filter.getOutputLabelImage());
            const float* const length = lengths.read(segment);
            const T* const label = reader.read(segment);
            T* const out = writer.open(segment);
            for (std::size_t x = 0; x < segment.count; ++x) {
                out[x] = static_cast<double>(length[x]) <= farthest ? label[x] : T{0};
            }
            writer.flush();
        });
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputLabelImage();
    const HeaderImage labels(labelHeader(input));
    HeaderImage distances;
    HeaderImage nearest;
    DistanceOf<Filter> child;
    child.settings() = filter.settings();
    setUp(filter, child, labels, distances, nearest);
    return 2 * access::TemporaryImage::bytes(input, input.getVoxelType()) +
           access::TemporaryImage::bytes(input, RIX_FLOAT32) + child.describe().extraMemory;
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

constexpr auto inPlanes =
    definitionOf<ExpandLabels2d>("Grows labels by a distance without joining them, in each plane.");
constexpr auto inVolumes =
    definitionOf<ExpandLabels3d>("Grows labels by a distance without joining them, in each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(ExpandLabels2d, inPlanes)
RIX_DEFINE_ALGORITHM(ExpandLabels3d, inVolumes)

}  // namespace rix::segmentation
