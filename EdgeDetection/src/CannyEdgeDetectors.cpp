// Both Canny edge detectors: gradients, what is greatest along them, what is connected with something strong.

#include <bit>

#include <rix/access/Looks.h>
#include <rix/access/PositionedRows.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/edge_detection/CannyEdgeDetector2d.h>
#include <rix/edge_detection/CannyEdgeDetector3d.h>
#include <rix/image/AxisPlaces.h>
#include <rix/properties/EnumInfo.h>

#include "CannyKernels.h"
#include "CannyThresholds.h"
#include "EdgeProperties.h"
#include "FieldRing.h"
#include "GradientTaps.h"
#include "Hysteresis.h"
#include "Peaks.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<CannyEdgeDetector3d> = 3;

namespace {

template <class Filter>
ThresholdRule thresholdsOf(const Filter& filter) {
    return {filter.getThresholdMode() == Filter::QUANTILE, filter.getLowerThreshold(), filter.getUpperThreshold()};
}

/// What thresholds can be: unset, or at most the upper one, and quantiles at most 1; stands on the upper one.
template <class Filter>
class RuleThresholds : public Rules<Property<double>> {
public:
    explicit RuleThresholds(const Filter& filter) : m_filter(filter) {}
    void apply(Property<double>& property) override {
        const ThresholdRule rule = thresholdsOf(m_filter);
        if (rule.lower >= 0.0 && rule.upper >= 0.0 && rule.lower > rule.upper) {
            rules::refuse(
                rules::parameterText(property) + " must not be below the lower threshold.",
                "They are " + rules::valueToText(rule.upper) + " and " + rules::valueToText(rule.lower) + '.');
        }
        if (rule.areQuantiles && (rule.lower > 1.0 || rule.upper > 1.0)) {
            rules::refuse(
                rules::parameterText(property) + " and the lower one must be at most 1, as quantiles.",
                "They are " + rules::valueToText(rule.upper) + " and " + rules::valueToText(rule.lower) + '.');
        }
    }
    String describe() const override { return "not below the lower threshold; as quantiles both are at most 1"; }

private:
    const Filter& m_filter;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputGrayImage, "The image whose edges are wanted.", AddRulesForRealImage());
    filter.standardDeviation = 1.4;
    properties.input(filter.standardDeviation, "Width of the Gaussian; 0: not smoothed.");
    filter.standardDeviation.getImpl()->addRule(
        std::make_shared<RuleDeviation>(filter.inputGrayImage, filter.lengthUnit, axesOf<Filter>, 0.0));
    properties.input(filter.lengthUnit, "Whether lengths are in voxels or in the image's unit.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleDivisors>(filter.inputGrayImage, axesOf<Filter>));
    properties.input(filter.thresholdMode, "Whether thresholds are gradients or quantiles of them.");
    filter.lowerThreshold = -1.0;
    properties.input(filter.lowerThreshold,
                     "From where on a gradient may be of an edge; negative: a tenth of the greatest.",
                     AddRuleAssertFinite());
    filter.upperThreshold = -1.0;
    properties.input(filter.upperThreshold, "From where on it is; negative: a fifth of the greatest.",
                     AddRuleAssertFinite());
    filter.upperThreshold.getImpl()->addRule(std::make_shared<RuleThresholds<Filter>>(filter));
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(
        filter.outputBinaryImage, "The edges.", AddRuleAssertNotNull(), AddRuleDisjointFrom(filter.inputGrayImage),
        AddRuleEnforceLike(filter.inputGrayImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
    properties.output(filter.outputMeasurement, "Optional: places on the edges.");
}

/// The gradient of the smoothed image: Sobel's, whose weights add up to 1.
template <class Filter>
FieldJob jobOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    const ImageModel& image = *filter.getInputGrayImage();
    std::array<double, 3> units{1.0, 1.0, 1.0};
    std::array<double, 3> deviations{};
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        const auto component = static_cast<Components>(axis);
        if (filter.getLengthUnit() == algorithms::LengthUnit::WORLD) {
            units[axis] = std::abs(image.getSpacingOf(component));
        }
        deviations[axis] =
            algorithms::lengthInVoxels(filter.standardDeviation, filter.getLengthUnit(), image, component);
    }
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        FieldComponent component = differenceComponent(GradientMethod::SOBEL, axis, axesOf<Filter>, true, units);
        for (std::size_t each = 0; each < axesOf<Filter>; ++each) {
            component.taps[each] = convolved(component.taps[each], gaussianTaps(deviations[each], 0));
        }
        job.components.push_back(component);
    }
    return job;
}

FieldJob withMargin(FieldJob job) {
    for (std::size_t axis = 0; axis < job.components.size(); ++axis) {
        job.margin[axis] = 1;
    }
    return job;
}

/// One step along a gradient of length 1, in voxels of each axis: the smallest spacing.
template <class Filter>
std::array<double, 3> stepsOf(const Filter& filter) {
    std::array<double, 3> steps{1.0, 1.0, 1.0};
    if (filter.getLengthUnit() == algorithms::LengthUnit::WORLD) {
        double smallest = std::numeric_limits<double>::infinity();
        for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
            steps[axis] = std::abs(filter.getInputGrayImage()->getSpacingOf(static_cast<Components>(axis)));
            smallest = std::min(smallest, steps[axis]);
        }
        for (double& step : steps) {
            step = smallest / step;
        }
    }
    return steps;
}

/// Calls `row(rows, segment)` with the gradients around every row of a tile.
template <class T, class Row>
void forEachGradientRow(access::ExecutionContext& context, const ImageModel& input, const FieldJob& job,
                        const std::array<double, 3>& steps, OptimLevelType level, const Row& row) {
    const std::size_t axes = job.components.size();
    const FieldPlan<T> plan(job);
    const FieldKernels<T> kernels = fieldKernels<T>(level);
    const access::Plan blocks = cutField(input, plan);
    access::run(context, blocks, [&](const access::Block& block) {
        access::Looks looks;
        forEachTile(plan, block, [&](const access::Block& tile) {
            FieldRing<T> ring(plan, {&input}, tile, helper::getExtents(input), kernels);
            GradientRows<T> rows{};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                rows.step[axis] = static_cast<T>(steps[axis]);
            }
            blocks.forEachSegment(tile, [&](const access::RowSegment& segment) {
                const auto y = static_cast<std::int64_t>(segment.row);
                const auto z = static_cast<std::int64_t>(segment.plane);
                ring.advance(y, z);
                for (std::size_t axis = 0; axis < axes; ++axis) {
                    rows.components[axis] = ring.component(y, z, axis);
                }
                for (std::int64_t dz = axes == 3 ? -1 : 0; dz <= (axes == 3 ? 1 : 0); ++dz) {
                    for (std::int64_t dy = -1; dy <= 1; ++dy) {
                        rows.magnitudes[dz + 1][dy + 1] = ring.magnitude(y + dy, z + dz);
                    }
                }
                row(rows, segment);
                looks.add(segment.count / 8);
            });
        });
    });
}

/// Counts of the edges before each row, in storage order; at the end of all.
access::CountedVector<std::size_t> edgesBefore(const ImageModel& image, const EdgeMap& map) {
    const auto extents = helper::getExtents(image);
    access::CountedVector<std::size_t> before;
    before.reserve(extents[ROWS] * extents[PLANS] * extents[SEQUENCE] * extents[SPECTRAL_SERIES] + 1);
    std::size_t count = 0;
    access::Looks looks;
    for (std::size_t c = 0; c < extents[SPECTRAL_SERIES]; ++c) {
        for (std::size_t t = 0; t < extents[SEQUENCE]; ++t) {
            for (std::size_t z = 0; z < extents[PLANS]; ++z) {
                const auto [place, plane] = map.imageOf(z, t, c);
                for (std::size_t y = 0; y < extents[ROWS]; ++y) {
                    before.push_back(count);
                    const EdgeMap::Word* const row = map.edges(place, y, plane);
                    for (std::size_t x = 0; x < extents[COLUMNS]; x += EdgeMap::bits) {
                        count += static_cast<std::size_t>(std::popcount(row[x / EdgeMap::bits]));
                    }
                    looks.add(extents[COLUMNS] / 1024 + 1);
                }
            }
        }
    }
    before.push_back(count);
    return before;
}

template <class T, class Filter>
void fillTable(Filter& filter, const ImageModel& image, const FieldJob& job, const EdgeMap& map, OptimLevelType level) {
    EdgesMsr& table = *filter.getOutputMeasurement();
    const auto extents = helper::getExtents(image);
    const auto before = edgesBefore(image, map);
    constexpr std::size_t axes = axesOf<Filter>;
    table.ofVolumes = axes == 3;
    table.reset(*filter.getInputGrayImage(), axes, before.back());
    const helper::AxisPlaces worldOf(image);
    forEachGradientRow<T>(
        filter.executionContext(), image, job, stepsOf(filter), level,
        [&](const GradientRows<T>& rows, const access::RowSegment& segment) {
            const auto [place, plane] = map.imageOf(segment.plane, segment.sequence, segment.spectral);
            const EdgeMap::Word* const row = map.edges(place, segment.row, plane);
            const auto isEdge = [&](std::size_t x) { return isSet(row, x); };
            const std::size_t number =
                ((segment.spectral * extents[SEQUENCE] + segment.sequence) * extents[PLANS] + segment.plane) *
                    extents[ROWS] +
                segment.row;
            std::size_t i = before[number] + countBefore(row, segment.column);
            for (std::size_t x = 0; x < segment.count; ++x) {
                if (!isEdge(segment.column + x)) {
                    continue;
                }
                const auto [behind, ahead] = magnitudesAlong(rows, x, axes);
                const auto m = static_cast<double>(rows.magnitudes[1][1][x]);
                const double offset = parabolaOffset(static_cast<double>(behind), m, static_cast<double>(ahead));
                std::array<double, 3> direction{};
                std::array<double, 3> at{static_cast<double>(segment.column + x), static_cast<double>(segment.row),
                                         static_cast<double>(segment.plane)};
                for (std::size_t axis = 0; axis < axes; ++axis) {
                    direction[axis] = static_cast<double>(rows.components[axis][x]) / m;
                    at[axis] += offset * direction[axis] * static_cast<double>(rows.step[axis]);
                }
                table.setFrame(i, segment.sequence, segment.spectral);
                table.setPosition(i, {worldOf(0, at[0]), worldOf(1, at[1]), worldOf(2, at[2])});
                table.strength[i] = m;
                if constexpr (axes == 3) {
                    table.directionX[i] = direction[0];
                    table.directionY[i] = direction[1];
                    table.directionZ[i] = direction[2];
                } else {
                    table.orientation[i] = std::atan2(direction[1], direction[0]);
                }
                ++i;
            }
        });
}

template <class T, class Filter>
void detect(Filter& filter, const ImageModel& input, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const FieldJob job = jobOf(filter);
    const access::Steps steps(context, {1.0, 1.0, 0.2, filter.getOutputMeasurement() != nullptr ? 1.0 : 0.0});
    EdgeMap map(helper::getExtents(input), axesOf<Filter>);
    const auto thresholds = cannyThresholds<T>(context, input, job, thresholdsOf(filter), map, level);
    const CannyKernels<T> kernels = cannyKernels<T>(level);
    const auto classify = ofVolumes<Filter> ? kernels.classify3 : kernels.classify2;
    forEachGradientRow<T>(context, input, withMargin(job), stepsOf(filter), level,
                          [&](GradientRows<T>& rows, const access::RowSegment& segment) {
                              const auto [image, plane] =
                                  map.imageOf(segment.plane, segment.sequence, segment.spectral);
                              rows.lower = thresholds[image][0];
                              rows.upper = thresholds[image][1];
                              EdgeMap::Word weak[classifiedColumns / EdgeMap::bits];
                              EdgeMap::Word strong[classifiedColumns / EdgeMap::bits];
                              for (std::size_t x = 0; x < segment.count; x += classifiedColumns) {
                                  const std::size_t n = std::min(classifiedColumns, segment.count - x);
                                  classify(rows, x, n, weak, strong);
                                  map.enter(image, segment.row, plane, segment.column + x, weak, strong, n);
                              }
                          });
    map.connect(context);
    ImageModel& output = *filter.getOutputBinaryImage();
    constexpr double nanosecondsPerVoxel = 0.1;
    access::generateRowsAt<std::uint8_t>(
        context, output, nanosecondsPerVoxel, [&](const access::Position& at, std::uint8_t* out, std::size_t count) {
            const auto [image, plane] = map.imageOf(at.plane, at.sequence, at.spectral);
            kernels.expand(map.edges(image, at.row, plane), at.column, out, count);
        });
    if (filter.getOutputMeasurement() != nullptr) {
        fillTable<T>(filter, input, withMargin(job), map, level);
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        inWorkType(input, [&](auto tag) { detect<typename decltype(tag)::type>(filter, input, level); });
    });
}

template <class T, class Filter>
std::size_t bytesOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputGrayImage();
    const auto extents = helper::getExtents(input);
    const FieldJob job = jobOf(filter);
    const ThresholdRule rule = thresholdsOf(filter);
    const std::size_t threads = filter.getMaximumThreads();
    const VoxelTypes type = access::voxelTypeOf<T>;
    std::size_t first = rule.needsGreatest() ? fieldBytes(input, job, type, 1, threads) : 0;
    if (rule.needsMagnitudes()) {
        first = std::max(first, access::TemporaryImage::bytes(input, type) + fieldBytes(input, job, type, 1, threads));
    }
    const FieldPlan<T> plan(withMargin(job));
    const access::Plan blocks = cutField(input, plan);
    const std::size_t atOnce = blocks.isSmall() ? 1 : std::min(threads, blocks.blockCount());
    const std::size_t ring = FieldRing<T>::bytes(plan, largestTile(plan, blocks));
    const std::size_t second = fieldBytes(input, withMargin(job), type, 0, threads) + atOnce * ring;
    const std::size_t lines = extents[ROWS] * extents[PLANS] * extents[SEQUENCE] * extents[SPECTRAL_SERIES];
    const std::size_t table = filter.getOutputMeasurement() != nullptr ? (lines + 1) * sizeof(std::size_t) : 0;
    const std::size_t images =
        axesOf<Filter> == 3 ? extents[SEQUENCE] * extents[SPECTRAL_SERIES] : lines / extents[ROWS];
    return EdgeMap::bytes(extents, axesOf<Filter>) + images * 3 * sizeof(T) + std::max(first, second + table);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    return fieldWorkType(filter.getInputGrayImage()->getVoxelType()) == RIX_FLOAT64 ? bytesOf<double>(filter)
                                                                                    : bytesOf<float>(filter);
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

constexpr auto inPlanes =
    definitionOf<CannyEdgeDetector2d>("Finds the edges of planes: lines where gradients are greatest.");
constexpr auto inVolumes =
    definitionOf<CannyEdgeDetector3d>("Finds the edges of volumes: surfaces where gradients are greatest.");

}  // namespace

const EnumInfo& getInfoThresholdMode() {
    static const EnumInfo info("ThresholdMode", "ABSOLUTE = 0, QUANTILE");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(CannyEdgeDetector2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(CannyEdgeDetector3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::edge_detection
