// Both ridge filters: lines of several widths, by the eigenvalues of second derivatives.

#include <rix/access/Rows.h>
#include <rix/access/Steps.h>
#include <rix/edge_detection/RidgeFilter2d.h>
#include <rix/edge_detection/RidgeFilter3d.h>
#include <rix/properties/EnumInfo.h>

#include "Tensors.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<RidgeFilter3d> = 3;

namespace {

constexpr std::int32_t mostScales = 1000;

void declareWeight(algorithms::Properties& properties, Property<double>& property, double value,
                   const char* description) {
    property = value;
    properties.input(property, description, AddRuleAssertFinite(), AddRuleLimitedValue<double>(0.0, CHECK_GREATER));
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose lines are wanted.", AddRulesForRealImage());
    properties.input(filter.method, "What tells that something is a line.");
    properties.input(filter.ridges, "Whether lines are brighter or darker than what is around.");
    declareDeviation(filter, properties, filter.minimumScale, 1.0, "Width of the narrowest Gaussian.", 1.0);
    declareDeviation(filter, properties, filter.maximumScale, 5.0, "Width of the widest Gaussian.", 1.0);
    filter.numberOfScales = 5;
    properties.input(filter.numberOfScales, "Widths, evenly from one to the other.",
                     AddRuleInRange<std::int32_t>(1, mostScales, Bound::Included, Bound::Included));
    declareWeight(properties, filter.alpha, 0.5, "How flat a line may be, in volumes.");
    declareWeight(properties, filter.beta, 0.5, "How round a line may be.");
    declareWeight(properties, filter.gamma, 15.0, "Second derivatives that count half or more.");
    properties.onlyWith(filter.method, {RidgeFilterMethod::FRANGI}, filter.beta, filter.gamma);
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    declareOutput(filter, properties, "How much each voxel is like a line.");
}

template <class Filter>
double scaleOf(const Filter& filter, std::int32_t index) {
    const double first = filter.getMinimumScale();
    const std::int32_t count = filter.getNumberOfScales();
    return count == 1 ? first : first + (filter.getMaximumScale() - first) * index / (count - 1);
}

template <class Filter>
FieldJob jobOf(const Filter& filter, double scale) {
    FieldJob job;
    const std::array<double, 3> units = unitsOf(filter);
    std::array<double, 3> deviations{};
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        deviations[axis] = scale / units[axis];
    }
    addSecondDerivatives<axesOf<Filter>>(job, deviations, units);
    return job;
}

template <class T, class Filter>
void compute(Filter& filter, OptimLevelType level) {
    const ImageModel& input = *filter.getInputImage();
    ImageModel& output = *filter.getOutputImage();
    const SecondOrderKernels<T> kernels = secondOrderKernels<T>(level);
    const auto ridges = ofVolumes<Filter> ? kernels.ridges3 : kernels.ridges2;
    const access::Steps steps(filter.executionContext(), static_cast<std::size_t>(filter.getNumberOfScales()));
    for (std::int32_t i = 0; i < filter.getNumberOfScales(); ++i) {
        const double scale = scaleOf(filter, i);
        const RidgeMeasure measure{
            filter.getMethod() == RidgeFilterMethod::FRANGI ? RidgeMethod::Frangi : RidgeMethod::Sato,
            filter.getRidges() == RidgeBrightness::BRIGHT ? 1.0 : -1.0,
            scale * scale,
            filter.getAlpha(),
            filter.getBeta(),
            filter.getGamma()};
        computeField<T>(filter.executionContext(), {&input}, jobOf(filter, scale), {{&output}}, level,
                        [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                            access::RowReader<T> before(output);
                            ridges(components, measure, i > 0 ? before.read(segment) : nullptr, outs[0], segment.count);
                        });
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    inWorkType(*filter.getInputImage(), [&](auto tag) { compute<typename decltype(tag)::type>(filter, level); });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    std::size_t most = 0;
    for (std::int32_t i = 0; i < filter.getNumberOfScales(); ++i) {
        // A row of results, and one of those before.
        most = std::max(most, fieldBytes(input, jobOf(filter, scaleOf(filter, i)), fieldWorkType(input.getVoxelType()),
                                         2, filter.getMaximumThreads()));
    }
    return most;
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence =
            [](const Filter& filter) {
                return fieldReach(jobOf(filter, std::max(filter.getMinimumScale(), filter.getMaximumScale())));
            },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes = definitionOf<RidgeFilter2d>("Makes lines of planes stand out, whatever their width.");
constexpr auto ofSpace = definitionOf<RidgeFilter3d>("Makes tubes of volumes stand out, whatever their width.");

}  // namespace

const EnumInfo& getInfoRidgeFilterMethod() {
    static const EnumInfo info("Method", "FRANGI = 0, SATO");
    return info;
}
const EnumInfo& getInfoRidgeBrightness() {
    static const EnumInfo info("Ridges", "BRIGHT = 0, DARK");
    return info;
}

RIX_DEFINE_ALGORITHM(RidgeFilter2d, ofPlanes)
RIX_DEFINE_ALGORITHM(RidgeFilter3d, ofSpace)

}  // namespace rix::edge_detection
