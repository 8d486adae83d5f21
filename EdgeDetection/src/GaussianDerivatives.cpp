// Both Gaussian derivatives: that of planes has no third axis.

#include <rix/edge_detection/GaussianDerivative2d.h>
#include <rix/edge_detection/GaussianDerivative3d.h>

#include "EdgeProperties.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<GaussianDerivative3d> = 3;

namespace {

constexpr std::int32_t highestOrder = 3;

template <class Filter>
algorithms::RuleLength::Measure along(const Filter& filter, Components axis) {
    return {filter.inputImage, filter.lengthUnit, axis};
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    const auto deviation = [&](Property<double>& property, Components axis, const char* description) {
        property = 1.0;
        properties.input(property, description, algorithms::AddRuleLength(along(filter, axis), largestDeviation));
    };
    const auto order = [&](Property<std::int32_t>& property, const char* description) {
        property = 0;
        properties.input(property, description,
                         AddRuleInRange<std::int32_t>(0, highestOrder, Bound::Included, Bound::Included));
    };
    properties.input(filter.inputImage, "The image that is derived.", AddRulesForRealImage());
    deviation(filter.standardDeviationX, COLUMNS, "Width of the Gaussian across columns.");
    deviation(filter.standardDeviationY, ROWS, "Width of the Gaussian across rows.");
    if constexpr (ofVolumes<Filter>) {
        deviation(filter.standardDeviationZ, PLANS, "Width of the Gaussian across planes.");
    }
    order(filter.orderX, "How often the image is derived by x.");
    order(filter.orderY, "How often the image is derived by y.");
    if constexpr (ofVolumes<Filter>) {
        order(filter.orderZ, "How often the image is derived by z.");
    }
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    declareOutput(filter, properties, "The derivative.");
}

template <class Filter>
FieldJob jobOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    std::array<double, 3> deviations{along(filter, COLUMNS).voxels(filter.standardDeviationX),
                                     along(filter, ROWS).voxels(filter.standardDeviationY), 0.0};
    std::array<std::size_t, 3> orders{static_cast<std::size_t>(filter.getOrderX()),
                                      static_cast<std::size_t>(filter.getOrderY()), 0};
    if constexpr (ofVolumes<Filter>) {
        deviations[2] = along(filter, PLANS).voxels(filter.standardDeviationZ);
        orders[2] = static_cast<std::size_t>(filter.getOrderZ());
    }
    job.components.push_back(gaussianComponent(deviations, orders, unitsOf(filter)));
    return job;
}

template <class Filter>
constexpr auto definitionOf = definitionOfSum<Filter, &jobOf<Filter>, &declare<Filter>>;

constexpr auto ofPlanes = definitionOf<GaussianDerivative2d>("Derives planes that are smoothed with a Gaussian.");
constexpr auto ofSpace = definitionOf<GaussianDerivative3d>("Derives volumes that are smoothed with a Gaussian.");

}  // namespace

RIX_DEFINE_ALGORITHM(GaussianDerivative2d, ofPlanes)
RIX_DEFINE_ALGORITHM(GaussianDerivative3d, ofSpace)

}  // namespace rix::edge_detection
