// Second derivatives added up: of neighbours, of a Gaussian, and what two Gaussians make like it.

#include <rix/edge_detection/DifferenceOfGaussians2d.h>
#include <rix/edge_detection/DifferenceOfGaussians3d.h>
#include <rix/edge_detection/Laplacian2d.h>
#include <rix/edge_detection/Laplacian3d.h>
#include <rix/edge_detection/LaplacianOfGaussian2d.h>
#include <rix/edge_detection/LaplacianOfGaussian3d.h>

#include "EdgeProperties.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<Laplacian3d> = 3;
template <>
constexpr std::size_t axesOf<LaplacianOfGaussian3d> = 3;
template <>
constexpr std::size_t axesOf<DifferenceOfGaussians3d> = 3;

namespace {

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is derived.", AddRulesForRealImage());
    if constexpr (requires { filter.standardDeviation; }) {
        declareDeviation(filter, properties, filter.standardDeviation, 2.0, "Width of the Gaussian.");
    }
    if constexpr (requires { filter.standardDeviation1; }) {
        declareDeviation(filter, properties, filter.standardDeviation1, 1.0, "Width of the Gaussian that adds.");
        declareDeviation(filter, properties, filter.standardDeviation2, 1.6,
                         "Width of the Gaussian that is subtracted.");
    }
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    declareOutput(filter, properties, "The result.");
}

/// The second derivatives along all axes, the last one first: those by y and z begin with the same sums along x.
template <class Filter>
FieldJob laplacian(const Filter& filter, const std::array<double, 3>& deviations) {
    FieldJob job = jobWithBorder(filter);
    for (std::size_t axis = axesOf<Filter>; axis-- > 0;) {
        std::array<std::size_t, 3> orders{};
        orders[axis] = 2;
        job.components.push_back(gaussianComponent(deviations, orders, unitsOf(filter)));
    }
    return job;
}

template <class Filter>
FieldJob jobOfLaplacian(const Filter& filter) {
    return laplacian(filter, {});
}

template <class Filter>
FieldJob jobOfGaussian(const Filter& filter) {
    return laplacian(filter, deviationsOf(filter, filter.standardDeviation));
}

template <class Filter>
FieldJob jobOfDifference(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    const auto first = deviationsOf(filter, filter.standardDeviation1);
    const auto second = deviationsOf(filter, filter.standardDeviation2);
    job.components = {gaussianComponent(first, {}, {1.0, 1.0, 1.0}), gaussianComponent(second, {}, {1.0, 1.0, 1.0})};
    job.components[1].taps[0] = scaled(job.components[1].taps[0], -1.0);
    return job;
}

template <class Filter>
constexpr auto definitionOfLaplacian = definitionOfSum<Filter, &jobOfLaplacian<Filter>, &declare<Filter>>;
template <class Filter>
constexpr auto definitionOfGaussian = definitionOfSum<Filter, &jobOfGaussian<Filter>, &declare<Filter>>;
template <class Filter>
constexpr auto definitionOfDifference = definitionOfSum<Filter, &jobOfDifference<Filter>, &declare<Filter>>;

constexpr auto ofPlanes =
    definitionOfLaplacian<Laplacian2d>("Adds up the second differences along the axes of planes.");
constexpr auto ofSpace =
    definitionOfLaplacian<Laplacian3d>("Adds up the second differences along the axes of volumes.");
constexpr auto gaussianOfPlanes =
    definitionOfGaussian<LaplacianOfGaussian2d>("Laplacian of planes that are smoothed with a Gaussian.");
constexpr auto gaussianOfSpace =
    definitionOfGaussian<LaplacianOfGaussian3d>("Laplacian of volumes that are smoothed with a Gaussian.");
constexpr auto differenceOfPlanes =
    definitionOfDifference<DifferenceOfGaussians2d>("Difference of planes that are smoothed with two Gaussians.");
constexpr auto differenceOfSpace =
    definitionOfDifference<DifferenceOfGaussians3d>("Difference of volumes that are smoothed with two Gaussians.");

}  // namespace

RIX_DEFINE_ALGORITHM(Laplacian2d, ofPlanes)
RIX_DEFINE_ALGORITHM(Laplacian3d, ofSpace)
RIX_DEFINE_ALGORITHM(LaplacianOfGaussian2d, gaussianOfPlanes)
RIX_DEFINE_ALGORITHM(LaplacianOfGaussian3d, gaussianOfSpace)
RIX_DEFINE_ALGORITHM(DifferenceOfGaussians2d, differenceOfPlanes)
RIX_DEFINE_ALGORITHM(DifferenceOfGaussians3d, differenceOfSpace)

}  // namespace rix::edge_detection
