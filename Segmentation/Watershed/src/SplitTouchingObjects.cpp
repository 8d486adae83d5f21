// Objects are cut where they are narrow: distances, upside down, are divided into basins.

#include <limits>

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/image/ImageHeader.h>
#include <rix/morphology/DistanceMap2d.h>
#include <rix/morphology/DistanceMap3d.h>
#include <rix/rules/SpacingRules.h>
#include <rix/segmentation/SplitTouchingObjects2d.h>
#include <rix/segmentation/SplitTouchingObjects3d.h>
#include <rix/segmentation/Watershed2d.h>
#include <rix/segmentation/Watershed3d.h>
#include <rix/settings/Settings.h>

#include "GridRows.h"
#include "PartSizeRule.h"

namespace rix::segmentation {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, SplitTouchingObjects3d>;
template <class Filter>
using DistanceOf = std::conditional_t<ofVolumes<Filter>, morphology::DistanceMap3d, morphology::DistanceMap2d>;
template <class Filter>
using WatershedOf = std::conditional_t<ofVolumes<Filter>, Watershed3d, Watershed2d>;

/// In the world, voxels have extents.
template <class Filter>
class RuleWorld : public Rules<Property<int>> {
public:
    explicit RuleWorld(const Filter& filter) : m_filter(filter) {}
    void apply(Property<int>& /*property*/) override {
        if (m_filter.getLengthUnit() == Filter::WORLD) {
            RuleAssertSpacing<const ImageModel*>(ofVolumes<Filter> ? 3 : 2).apply(image());
        }
    }
    String describe() const override { return "for WORLD, the spacings must be finite and not 0"; }

private:
    Property<const ImageModel*>& image() const { return const_cast<Filter&>(m_filter).inputObjectImage; }

    const Filter& m_filter;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage, "The objects: what is not 0.", AddRulesForRealImage(),
                     AddRulePartSize(ofVolumes<Filter> ? 3 : 2));
    filter.contrast = 1.0;
    properties.input(filter.contrast, "How much narrower a neck is than half of what it joins.",
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL), AddRuleAssertFinite());
    properties.input(filter.lengthUnit, "Whether the contrast is in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleWorld<Filter>>(filter));
    takeAllNeighbors(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.output(filter.outputLabelImage, "The numbers of the objects.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputObjectImage),
                      AddRuleEnforceLike(filter.inputObjectImage,
                                         {.voxelType = RIX_UINT32,
                                          .interpretation = RIX_LABEL,
                                          .labelScope = ofVolumes<Filter> ? LabelScope::Volume : LabelScope::Plane}));
}

template <class Filter>
void setUp(const Filter& filter, DistanceOf<Filter>& child, const ImageModel& objects, ImageModel& distances) {
    child.setInputObjectImage(&objects);
    child.setLengthUnit(filter.getLengthUnit());
    child.setOutputDistanceImage(&distances);
}

template <class Filter>
void setUp(const Filter& filter, WatershedOf<Filter>& child, const ImageModel& relief) {
    child.setInputGrayImage(&relief);
    child.setMinimumDepth(filter.getContrast());
    child.setNeighborhood(filter.getNeighborhood());
    child.setOutputLabelImage(filter.getOutputLabelImage());
}

/// The header of an image of values of a type like another image.
ImageHeader headerLike(const ImageModel& image, VoxelTypes type) {
    ImageHeader header = helper::headerOf(image);
    header.voxelType = type;
    header.interpretation = RIX_VALUE;
    return header;
}

/// 1 where objects are, whatever the image means, which may get another meaning with the output: a step of the run.
void findObjects(access::ExecutionContext& context, const ImageModel& image, ImageModel& objects) {
    const access::Plan plan = access::cutBands(helper::getExtents(image), {.nanosecondsPerVoxel = 1.0});
    access::run(context, plan, [&](const access::Block& block) {
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            access::RowWriter<std::uint8_t> writer(objects);
            std::uint8_t* const out = writer.open(segment);
            std::fill_n(out, segment.count, std::uint8_t{1});
            forEachMasked(&image, segment, [&](std::size_t x) { out[x] = 0; });
            writer.flush();
        });
    });
}

/// Turns distances upside down, with walls where no object is: a step of the run.
void turn(access::ExecutionContext& context, const ImageModel& objects, ImageModel& distances) {
    access::transformRows<std::uint8_t, float>(
        context, objects, distances, 0.5, [](const std::uint8_t* in, float* out, std::size_t count) {
            for (std::size_t x = 0; x < count; ++x) {
                out[x] = in[x] != 0 ? -out[x] : std::numeric_limits<float>::quiet_NaN();
            }
        });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const access::Steps steps(context, {0.05, 0.15, 0.05, 0.75});
    const ImageModel& image = *filter.getInputObjectImage();
    const HeaderImage like(headerLike(image, RIX_UINT8));
    access::TemporaryMemory distances(like, RIX_FLOAT32);
    {
        access::TemporaryMemory objects(like);
        if (!helper::applyHeader(like.header(), objects.image())) {
            throw ResizeImageError("A temporary image of objects cannot be calibrated.");
        }
        findObjects(context, image, objects.image());
        DistanceOf<Filter> distance;
        setUp(filter, distance, objects.image(), distances.image());
        algorithms::runChild(filter, distance, level);
        turn(context, objects.image(), distances.image());
    }
    WatershedOf<Filter> watershed;
    setUp(filter, watershed, distances.image());
    // The output is shaped like the distances, which have got the calibration of the objects.
    algorithms::runChild(filter, watershed, level);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputObjectImage();
    const HeaderImage objects(headerLike(image, RIX_UINT8));
    const HeaderImage distances(headerLike(image, RIX_FLOAT32));
    HeaderImage none;
    DistanceOf<Filter> distance;
    distance.settings() = filter.settings();
    setUp(filter, distance, objects, none);
    WatershedOf<Filter> watershed;
    watershed.settings() = filter.settings();
    setUp(filter, watershed, distances);
    return access::TemporaryMemory::bytes(image, RIX_FLOAT32) +
           std::max(access::TemporaryMemory::bytes(image, RIX_UINT8) +
                        std::max(distance.describe().extraMemory, filter.getMaximumThreads() * rowBytes(&image)),
                    watershed.describe().extraMemory);
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

constexpr auto ofPlanes = definitionOf<SplitTouchingObjects2d>("Cuts touching objects at their necks in each plane.");
constexpr auto ofAllVolumes =
    definitionOf<SplitTouchingObjects3d>("Cuts touching objects at their necks in each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(SplitTouchingObjects2d, ofPlanes)
RIX_DEFINE_ALGORITHM(SplitTouchingObjects3d, ofAllVolumes)

}  // namespace rix::segmentation
