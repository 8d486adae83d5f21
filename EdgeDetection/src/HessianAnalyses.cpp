// Both analyses of the Hessian: that of planes has two eigenvalues.

#include <rix/edge_detection/HessianAnalysis2d.h>
#include <rix/edge_detection/HessianAnalysis3d.h>

#include "Tensors.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<HessianAnalysis3d> = 3;

namespace {

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose curvature is wanted.", AddRulesForRealImage());
    filter.inputImage.getImpl()->addRule(std::make_shared<RuleOneChannel>());
    declareDeviation(filter, properties, filter.standardDeviation, 1.0, "Width of the Gaussian.");
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    TensorDeclaration outputs(properties, filter.inputImage);
    constexpr std::size_t axes = axesOf<Filter>;
    outputs.add(filter.outputEigenvaluesImage, "Optional: the eigenvalues, a channel each.",
                withChannels(filter, axes));
    outputs.add(filter.outputEigenvectorsImage, "Optional: the components of the eigenvectors, a channel each.",
                withChannels(filter, axes * axes));
}

template <class Filter>
FieldJob jobOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    addSecondDerivatives<axesOf<Filter>>(job, deviationsOf(filter, filter.standardDeviation), unitsOf(filter));
    return job;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    const ImageModel& input = *filter.getInputImage();
    inWorkType(input,
               [&](auto tag) { computeTensors<typename decltype(tag)::type>(filter, {&input}, jobOf(filter), level); });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    if (TensorOutputs<Filter>(filter).images.empty()) {
        return 0;
    }
    return fieldBytes(input, jobOf(filter), fieldWorkType(input.getVoxelType()),
                      TensorOutputs<Filter>(filter).images.size(), filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence = [](const Filter& filter) { return fieldReach(jobOf(filter)); },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes = definitionOf<HessianAnalysis2d>("Eigenvalues and -vectors of second derivatives of planes.");
constexpr auto ofSpace = definitionOf<HessianAnalysis3d>("Eigenvalues and -vectors of second derivatives of volumes.");

}  // namespace

RIX_DEFINE_ALGORITHM(HessianAnalysis2d, ofPlanes)
RIX_DEFINE_ALGORITHM(HessianAnalysis3d, ofSpace)

}  // namespace rix::edge_detection
