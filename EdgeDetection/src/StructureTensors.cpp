// Both structure tensors: products of the components of gradients, averaged, and their eigenvalues.

#include <rix/access/Steps.h>
#include <rix/edge_detection/StructureTensor2d.h>
#include <rix/edge_detection/StructureTensor3d.h>

#include "GradientProducts.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<StructureTensor3d> = 3;

namespace {

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose structure is wanted.", AddRulesForRealImage());
    filter.inputImage.getImpl()->addRule(std::make_shared<RuleOneChannel>());
    declareDeviation(filter, properties, filter.innerStandardDeviation, 1.0,
                     "Width of the Gaussian whose derivatives are taken.");
    declareDeviation(filter, properties, filter.outerStandardDeviation, 3.0,
                     "Width of the Gaussian that averages products.");
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    TensorDeclaration outputs(properties, filter.inputImage);
    constexpr std::size_t axes = axesOf<Filter>;
    outputs.add(filter.outputEigenvaluesImage, "Optional: the eigenvalues, a channel each.",
                withChannels(filter, axes));
    outputs.add(filter.outputEigenvectorsImage, "Optional: the components of the eigenvectors, a channel each.",
                withChannels(filter, axes * axes));
    outputs.add(filter.outputCoherenceImage, "Optional: from 0, no direction, to 1, a single one.",
                likeDerivative(filter));
    if constexpr (!ofVolumes<Filter>) {
        outputs.add(filter.outputOrientationImage, "Optional: the angle of the strongest gradient in radians.",
                    likeDerivative(filter));
    }
}

template <class T, class Filter>
void compute(Filter& filter, OptimLevelType level) {
    const access::Steps steps(filter.executionContext(), {1.0, 2.0});
    const GradientProducts<T, Filter> products(filter, level);
    computeTensors<T>(filter, products.images(), averagesOf(filter), level);
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    if (TensorOutputs<Filter>(filter).images.empty()) {
        return;
    }
    inWorkType(*filter.getInputImage(), [&](auto tag) { compute<typename decltype(tag)::type>(filter, level); });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const std::size_t outputs = TensorOutputs<Filter>(filter).images.size();
    return outputs == 0 ? 0 : averagedProductsBytes(filter, outputs);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence = &averagedProductsReach<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes = definitionOf<StructureTensor2d>("Tells how much, and in what direction, planes vary nearby.");
constexpr auto ofSpace =
    definitionOf<StructureTensor3d>("Tells how much, and in what directions, volumes vary nearby.");

}  // namespace

RIX_DEFINE_ALGORITHM(StructureTensor2d, ofPlanes)
RIX_DEFINE_ALGORITHM(StructureTensor3d, ofSpace)

}  // namespace rix::edge_detection
