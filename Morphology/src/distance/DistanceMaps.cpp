// How far it is to something else, in planes and in volumes.

#include <array>
#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>
#include <type_traits>

#include <rix/access/PointFilters.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/DistanceMap2d.h>
#include <rix/morphology/DistanceMap3d.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/When.h>

#include "distance/ChamferScans.h"
#include "distance/DistancePasses.h"
#include "distance/ExtentRule.h"
#include "distance/SpacingRule.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, DistanceMap3d> ? 3 : 2;

constexpr double mostNumberedVoxels = 4294967294.0;

template <class Filter>
DistanceTask taskOf(const Filter& filter, const ImageModel& image);

template <class Filter>
std::optional<ChamferWeights> weightsOf(const Filter& filter) {
    return ChamferWeights::read(filter.getChamferWeights(), axesOf<Filter>);
}

/// Of the metric CHAMFER.
template <class Filter>
class RuleWeights : public Rules<Property<String>> {
public:
    explicit RuleWeights(const Filter& filter) : m_filter(filter) {}
    void apply(Property<String>& property) override {
        if (m_filter.getMetric() != Filter::CHAMFER) {
            return;
        }
        const auto weights = weightsOf(m_filter);
        if (!weights) {
            rules::refuse(
                rules::parameterText(property) + " must be " + ChamferWeights::description(axesOf<Filter>) + '.',
                "It is \"" + property.get() + "\".");
        }
        if (!weights->isExactIn(taskOf(m_filter, *m_filter.getInputObjectImage()))) {
            rules::refuse(
                rules::parameterText(property) + " must be small enough for distances in this image to be below 2^24.",
                "It is \"" + property.get() + "\".");
        }
    }
    String describe() const override {
        return String("for CHAMFER, must be ") + ChamferWeights::description(axesOf<Filter>);
    }

private:
    const Filter& m_filter;
};

/// A nearest image can be made of what there is.
template <class Filter>
class RuleNearest : public Rules<Property<ImageModel*>> {
public:
    explicit RuleNearest(const Filter& filter) : m_filter(filter) {}
    void apply(Property<ImageModel*>& property) override {
        if (property.get() == nullptr) {
            return;
        }
        const ImageModel& image = *m_filter.getInputObjectImage();
        double voxels = 1;
        for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
            voxels *= static_cast<double>(image.getNumOf(static_cast<Components>(axis)));
        }
        if (voxels > mostNumberedVoxels) {
            rules::refuse(rules::parameterText(property) + " can number at most 4294967294 voxels.",
                          "There are " + rules::valueToText(voxels) + '.');
        }
        if (m_filter.getMetric() == Filter::CHESSBOARD && m_filter.getLengthUnit() == Filter::WORLD) {
            rules::refuse(rules::parameterText(property) +
                          " is not offered for the metric CHESSBOARD where lengthUnit is WORLD; VOXEL and other "
                          "metrics are accepted.");
        }
    }
    String describe() const override {
        return "can number at most 4294967294 voxels, and not for CHESSBOARD with WORLD";
    }

private:
    const Filter& m_filter;
};

template <template <class> class Rule, class Filter, class Value>
void addRule(Property<Value>& property, const Filter& filter) {
    property.getImpl()->addRule(std::make_shared<Rule<Filter>>(filter));
}

/// What the voxels of the input mean in the run that goes on, or in one that would come.
template <class Filter>
Interpretations meaningOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputObjectImage();
    return access::isOverwritten(image, filter.getOutputDistanceImage()) && image.getInterpretation() == RIX_VALUE
               ? algorithms::stateOf<algorithms::InputMeaning>(filter).meaning
               : image.getInterpretation();
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputObjectImage, "The objects: what is not 0, or labels.", AddRulesForRealImage());
    filter.inputObjectImage.getImpl()->addRule(std::make_shared<RuleExtents>(axesOf<Filter>));
    properties.input(filter.metric, "How distances are measured.");
    properties.input(filter.side, "Which voxels get a distance.");
    properties.input(filter.lengthUnit, "Whether lengths are in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleSpacings>(
        filter.inputObjectImage, axesOf<Filter>,
        [&filter] { return filter.getLengthUnit() == Filter::WORLD && filter.getMetric() != Filter::CHAMFER; },
        [&filter] { return filter.getBorderIsBackground() == Filter::YES; }));
    properties.input(filter.borderIsBackground, "Whether background lies beyond the edges.");
    filter.chamferWeights = axesOf<Filter> == 2 ? "5,7,11" : "3,4,5";
    properties.input(filter.chamferWeights, "The prices of the steps of CHAMFER, separated by commas.");
    addRule<RuleWeights>(filter.chamferWeights, filter);
    properties.onlyWith(filter.metric, {Filter::CHAMFER}, filter.chamferWeights);
    properties.output(
        filter.outputDistanceImage, "The distances.", AddRuleAssertNotNull(),
        AddRuleEnforceLike(filter.inputObjectImage, {.voxelType = RIX_FLOAT32, .interpretation = RIX_VALUE}));
    const auto ofLabels = [&filter] { return meaningOf(filter) == RIX_LABEL; };
    properties.output(
        filter.outputNearestImage, "Optional: indices plus 1 of the nearest voxels, or their labels.",
        AddRuleWhenSet(AddRuleDisjointFrom(filter.outputDistanceImage)),
        AddRuleWhenSet(AddRuleEnforceLike(
            filter.inputObjectImage,
            {.chosenType =
                 [&filter, ofLabels] { return ofLabels() ? filter.getInputObjectImage()->getVoxelType() : RIX_UINT32; },
             .chosenInterpretation = [ofLabels] { return ofLabels() ? RIX_LABEL : RIX_VALUE; }})));
    addRule<RuleNearest>(filter.outputNearestImage, filter);
}

template <class Filter>
DistanceTask taskOf(const Filter& filter, const ImageModel& image) {
    DistanceTask task;
    task.extents = helper::getExtents(image);
    task.axes = axesOf<Filter>;
    task.metric = filter.getMetric();
    task.side = filter.getSide();
    task.borderIsBackground = filter.getBorderIsBackground() == Filter::YES;
    task.inWorld = filter.getLengthUnit() == Filter::WORLD;
    for (std::size_t axis = 0; axis < task.axes && task.inWorld; ++axis) {
        const double spacing = std::fabs(image.getSpacingOf(static_cast<Components>(axis)));
        task.spacing[axis] = rules::isDivisor(spacing) ? spacing : 1;  // no way leads along the axis
    }
    task.ofLabels = image.getInterpretation() == RIX_LABEL;
    return task;
}

/// Calls `use` with the input, or a copy of it where an output takes its memory.
template <class Filter, class Use>
void readApart(Filter& filter, const Use& use) {
    access::ExecutionContext& context = filter.executionContext();
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        if (!access::isOverwritten(input, filter.getOutputDistanceImage()) &&
            !access::isOverwritten(input, filter.getOutputNearestImage())) {
            use(input);
            return;
        }
        const access::Steps steps(context, {0.1, 0.9});
        access::TemporaryImage copy(input);
        access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            constexpr double nanosecondsPerCopy = 0.1;
            access::transformRows<T, T>(context, input, copy.image(), nanosecondsPerCopy,
                                        [](const T* in, T* out, std::size_t count) { std::copy_n(in, count, out); });
        });
        for (const Components axis : {COLUMNS, ROWS, PLANS}) {
            copy.image().setSpacingOf(axis, input.getSpacingOf(axis));
        }
        use(copy.image());
    });
}

/// The weights of distances that are scanned: those of a chamfer; and where the nearest voxels are asked for also of a
/// chessboard, in which one that is nearest need not be nearest on its column.
template <class Filter>
std::optional<ChamferWeights> scanWeightsOf(const Filter& filter) {
    if (filter.getMetric() == Filter::CHAMFER) {
        return weightsOf(filter);
    }
    return filter.getMetric() == Filter::CHESSBOARD && filter.getOutputNearestImage() != nullptr
               ? std::optional(ChamferWeights::ofChessboard(axesOf<Filter>))
               : std::nullopt;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    readApart(filter, [&](const ImageModel& image) {
        const DistanceTask task = taskOf(filter, image);
        access::ExecutionContext& context = filter.executionContext();
        ImageModel& output = *filter.getOutputDistanceImage();
        ImageModel* const nearest = filter.getOutputNearestImage();
        const auto weights = scanWeightsOf(filter);
        if (weights && nearest != nullptr) {
            scanNearest(context, image, task, *weights, output, *nearest);
        } else if (weights) {
            scanChamfer(context, image, task, *weights, output, level);
        } else if (nearest != nullptr) {
            measureNearest(context, image, task, output, *nearest, level);
        } else {
            measureDistances(context, image, task, output, level);
        }
    });
    algorithms::stateOf<algorithms::InputMeaning>(filter).meaning = RIX_VALUE;
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputObjectImage();
    const ImageModel* const output = filter.getOutputDistanceImage();
    DistanceTask task = taskOf(filter, input);
    task.ofLabels = meaningOf(filter) == RIX_LABEL;
    const std::size_t copy =
        access::isOverwritten(input, output) || access::isOverwritten(input, filter.getOutputNearestImage())
            ? access::TemporaryImage::bytes(input, input.getVoxelType())
            : 0;
    const std::size_t threads = filter.getMaximumThreads();
    const bool hasNearest = filter.getOutputNearestImage() != nullptr;
    if (const auto weights = scanWeightsOf(filter)) {
        return copy + (hasNearest ? scanNearestBytes(input, task, output, threads)
                                  : scanBytes(input, task, *weights, output, threads));
    }
    return copy +
           (hasNearest ? nearestBytes(input, task, output, threads) : distanceBytes(input, task, output, threads));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<DistanceMap2d>(
    "Gives the voxels of each plane the distance to the nearest "
    "voxel of something else.");
constexpr auto inVolumes = definitionOf<DistanceMap3d>(
    "Gives the voxels of each volume the distance to the nearest "
    "voxel of something else.");

}  // namespace

const EnumInfo& getInfoDistanceMetric() {
    static const EnumInfo info("Metric", "EUCLIDEAN = 0, CITY_BLOCK, CHESSBOARD, CHAMFER");
    return info;
}
const EnumInfo& getInfoDistanceSide() {
    static const EnumInfo info("Side", "INSIDE = 0, OUTSIDE, SIGNED");
    return info;
}
const EnumInfo& getInfoBorderBackground() {
    static const EnumInfo info("BorderIsBackground", "NO = 0, YES");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(DistanceMap2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(DistanceMap3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::morphology
