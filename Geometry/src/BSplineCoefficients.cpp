// Both kinds of coefficients: those of planes have no third axis.

#include <rix/geometry/BSplineCoefficients2d.h>
#include <rix/geometry/BSplineCoefficients3d.h>

#include "Mapped.h"
#include "World.h"
#include "resampling/SplineCoefficients.h"
#include "resampling/SplineWeights.h"

namespace rix::geometry {

namespace {

VoxelTypes resultType(const ImageModel& input) {
    return input.getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

template <class Coefficients>
constexpr SplineAxes axesOf() {
    return {true, true, std::is_same_v<Coefficients, BSplineCoefficients3d>};
}

template <class Coefficients>
void declare(Coefficients& coefficients, algorithms::Properties& properties) {
    properties.input(coefficients.inputImage, "The image whose spline is wanted.", AddRulesForRealImage(),
                     AddRuleAssertPlaced());
    coefficients.degree = 3;
    properties.input(coefficients.degree, "Of the polynomials between elements.",
                     AddRuleInRange<std::int32_t>(2, largestSplineDegree, Bound::Included, Bound::Included));
    declareOutput(
        properties, coefficients.outputImage, "The coefficients.",
        [&coefficients] {
            ImageHeader header = helper::headerOf(*coefficients.getInputImage());
            header.spacing = spacingsOf(header);
            header.voxelType = resultType(*coefficients.getInputImage());
            header.interpretation = RIX_VALUE;
            return header;
        },
        coefficients.inputImage);
}

template <class Coefficients>
void process(Coefficients& coefficients, OptimLevelType level) {
    computeSplineCoefficients(coefficients.executionContext(), *coefficients.getInputImage(),
                              *coefficients.getOutputImage(), coefficients.getDegree(), axesOf<Coefficients>(), level);
}

template <class Coefficients>
std::size_t memoryOf(const Coefficients& coefficients) {
    const ImageModel& input = *coefficients.getInputImage();
    return splineCoefficientsMemory(input, resultType(input), axesOf<Coefficients>(), coefficients.getMaximumThreads());
}

template <class Coefficients>
constexpr algorithms::Definition<Coefficients> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Coefficients>,
        .process = &process<Coefficients>,
        .memory = &memoryOf<Coefficients>,
    };
}

constexpr auto ofPlanes = definitionOf<BSplineCoefficients2d>("Turns planes into coefficients of splines.");
constexpr auto ofVolumes = definitionOf<BSplineCoefficients3d>("Turns volumes into coefficients of splines.");

}  // namespace

RIX_DEFINE_ALGORITHM(BSplineCoefficients2d, ofPlanes)
RIX_DEFINE_ALGORITHM(BSplineCoefficients3d, ofVolumes)

}  // namespace rix::geometry
