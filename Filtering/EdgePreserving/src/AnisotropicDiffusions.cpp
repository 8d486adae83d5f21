// Both diffusions: that of planes looks along two axes.

#include <rix/filtering/smoothing/AnisotropicDiffusion2d.h>
#include <rix/filtering/smoothing/AnisotropicDiffusion3d.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <type_traits>

#include <rix/access/Steps.h>
#include <rix/properties/EnumInfo.h>

#include "EdgeFilter.h"

namespace rix::filtering::smoothing {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, AnisotropicDiffusion3d>;

template <class Filter>
constexpr std::size_t axes = ofVolumes<Filter> ? 3 : 2;

template <class Filter>
VoxelTypes outputType(const Filter& filter) {
    return filter.getInputImage()->getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

/// Distances of neighbours along the axes.
template <class Filter>
std::array<double, 3> distances(const Filter& filter) {
    std::array<double, 3> h{1.0, 1.0, 1.0};
    if (filter.getLengthUnit() == algorithms::LengthUnit::WORLD) {
        double smallest = std::numeric_limits<double>::infinity();
        for (std::size_t axis = 0; axis < axes<Filter>; ++axis) {
            h[axis] = std::abs(filter.getInputImage()->getSpacingOf(static_cast<Components>(axis)));
            smallest = std::min(smallest, h[axis]);
        }
        for (double& each : h) {
            each /= smallest;
        }
    }
    return h;
}

/// Spacings that distances are made of, and a step that doesn't overshoot; stands behind all that it depends on.
template <class Filter>
class RuleStableStep : public Rules<Property<int>> {
public:
    explicit RuleStableStep(const Filter& filter) : m_filter(filter) {}
    void apply(Property<int>& property) override {
        double sum = 0.0;
        for (std::size_t axis = 0; axis < axes<Filter>; ++axis) {
            const double h = distances(m_filter)[axis];
            if (!std::isfinite(h) || !(h > 0.0)) {
                rules::refuse(rules::parameterText(property) + " WORLD needs spacings other than 0 on all axes.");
            }
            sum += 1.0 / (h * h);
        }
        const double limit = 1.0 / (2.0 * sum);
        if (m_filter.getTimeStep() > limit * (1.0 + 1e-12)) {
            String text("The parameter \"timeStep\" must be at most ");
            text += rules::valueToText(limit);
            text += ": above it values overshoot.";
            String given("It is ");
            given += rules::valueToText(m_filter.getTimeStep());
            rules::refuse(text, given);
        }
    }
    String describe() const override {
        return "with it, \"timeStep\" must be at most 1 / (2 sum of 1 / h^2) over the axes, h the distance of "
               "neighbours";
    }

private:
    const Filter& m_filter;
};

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is smoothed.", AddRulesForRealImage());
    properties.input(filter.conductance, "How what flows falls with the difference.");
    declarePositive(properties, filter.contrast, 10.0, "The difference a voxel at which less flows.");
    declarePositive(properties, filter.timeStep, 0.125, "How far a step goes.");
    filter.numberOfIterations = 10;
    properties.input(filter.numberOfIterations, "Steps.",
                     AddRuleInRange<std::int32_t>(1, 100000, Bound::Included, Bound::Included));
    properties.input(filter.lengthUnit, "Whether neighbours are one voxel apart, or what the spacings say.");
    filter.lengthUnit.getImpl()->addRule(std::make_shared<RuleStableStep<Filter>>(filter));
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputImage, "The smoothed image.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE,
                                                             .chosenType = [&filter] { return outputType(filter); }}));
}

template <class Filter>
access::BoxNeeds needsOf(const Filter& /*filter*/) {
    const access::Reach::Axis axis{1, 1};
    return {{axis, axis, ofVolumes<Filter> ? axis : access::Reach::Axis{}}, ofVolumes<Filter> ? 3.0 : 2.0};
}

/// One step. @param flows with all but the rows
template <class T>
void step(access::ExecutionContext& context, const ImageModel& from, ImageModel& to, const access::BoxNeeds& needs,
          const access::BorderCondition<T>& border, const Flows<T>& flows,
          void (*flow)(const Flows<T>&, const T*, T*, std::size_t)) {
    access::transformWindows<T, T>(context, from, border, to, needs,
                                   [&](access::WindowRows<T>& window, const access::RowSegment& segment, T* out) {
                                       const auto y = static_cast<std::int64_t>(segment.row);
                                       const auto z = static_cast<std::int64_t>(segment.plane);
                                       const T* const center = window.row(y, z);
                                       Flows<T> around = flows;
                                       around.rows[0] = center - 1;
                                       around.rows[1] = center + 1;
                                       around.rows[2] = window.row(y - 1, z);
                                       around.rows[3] = window.row(y + 1, z);
                                       if (around.count > 4) {
                                           around.rows[4] = window.row(y, z - 1);
                                           around.rows[5] = window.row(y, z + 1);
                                       }
                                       flow(around, center, out, segment.count);
                                   });
}

template <class Filter, class T>
void diffuse(Filter& filter, const ImageModel& input, ImageModel& target, OptimLevelType level) {
    const bool exponential = filter.getConductance() == Filter::EXPONENTIAL;
    const EdgeKernels<T> kernels = edgeKernels<T>(level);
    const std::array<double, 3> h = distances(filter);
    Flows<T> flows{};
    flows.count = 2 * axes<Filter>;
    for (std::size_t i = 0; i < flows.count; ++i) {
        const double distance = h[i / 2];
        const double square = std::pow(distance * filter.getContrast(), -2.0);
        flows.square[i] = exponential ? logarithmOfWeight<T>(square)
                                      : static_cast<T>(std::min(square, double{std::numeric_limits<T>::max()}));
        flows.step[i] = static_cast<T>(filter.getTimeStep() / (distance * distance));
    }
    const auto border = access::borderOf<T>(filter.getBorderPolicy(), filter.getBorderValue());
    const auto steps = static_cast<std::size_t>(filter.getNumberOfIterations());
    const access::Steps progress(filter.executionContext(), steps);
    std::optional<access::TemporaryImage> other;
    if (steps > 1) {
        other.emplace(target, access::voxelTypeOf<T>);
    }
    const ImageModel* from = &input;
    for (std::size_t i = 0; i < steps; ++i) {
        ImageModel& to = (steps - i) % 2 == 1 ? target : other->image();
        step<T>(filter.executionContext(), *from, to, needsOf(filter), *border, flows,
                exponential ? kernels.flowExponential : kernels.flowRational);
        from = &to;
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    runApart(filter, [&](const ImageModel& input, ImageModel& target) {
        if (target.getVoxelType() == RIX_FLOAT64) {
            diffuse<Filter, double>(filter, input, target, level);
        } else {
            diffuse<Filter, float>(filter, input, target, level);
        }
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    access::BoxNeeds needs = needsOf(filter);
    needs.heldBytesPerVoxel = helper::getSizeOf(outputType(filter));
    return access::windowMemory(input, needs, needs.heldBytesPerVoxel, filter.getMaximumThreads()) +
           (filter.getNumberOfIterations() > 1 ? access::TemporaryImage::bytes(input, outputType(filter)) : 0) +
           access::writeApartMemory(input, filter.getOutputImage(), outputType(filter));
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const auto n = static_cast<std::size_t>(filter.getNumberOfIterations());
    const access::Reach::Axis axis{n, n};
    return {axis, axis, ofVolumes<Filter> ? axis : access::Reach::Axis{}};
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

constexpr auto inPlanes = definitionOf<AnisotropicDiffusion2d>("Smooths between edges by diffusion, plane by plane.");
constexpr auto inVolumes = definitionOf<AnisotropicDiffusion3d>("Smooths volumes between edges by diffusion.");

const EnumInfo& infoConductance() {
    static const EnumInfo info("Conductance", "EXPONENTIAL = 0, RATIONAL");
    return info;
}

}  // namespace

const EnumInfo& AnisotropicDiffusion2d::getInfoConductance() {
    return infoConductance();
}

const EnumInfo& AnisotropicDiffusion3d::getInfoConductance() {
    return infoConductance();
}

RIX_DEFINE_ALGORITHM_WITH(AnisotropicDiffusion2d, algorithms::InputMeaning, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(AnisotropicDiffusion3d, algorithms::InputMeaning, inVolumes)

}  // namespace rix::filtering::smoothing
