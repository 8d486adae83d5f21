// Both structure tensors: products of the components of gradients, averaged, and their eigenvalues.

#include <deque>

#include <rix/access/Steps.h>
#include <rix/edge_detection/StructureTensor2d.h>
#include <rix/edge_detection/StructureTensor3d.h>

#include "Tensors.h"

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

template <class Filter>
FieldJob gradientsOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        std::array<std::size_t, 3> orders{};
        orders[axis] = 1;
        job.components.push_back(
            gaussianComponent(deviationsOf(filter, filter.innerStandardDeviation), orders, unitsOf(filter)));
    }
    return job;
}

/// The averages of the products; where the image has a fixed value beyond its edges, nothing varies.
template <class Filter>
FieldJob averagesOf(const Filter& filter) {
    FieldJob job = jobWithBorder(filter);
    job.borderValue = 0.0;
    for (std::size_t i = 0; i < entriesOf<Filter>; ++i) {
        job.components.push_back(
            gaussianComponent(deviationsOf(filter, filter.outerStandardDeviation), {}, {1.0, 1.0, 1.0}));
        job.components.back().source = i;
    }
    return job;
}

template <class T, class Filter>
void compute(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    const access::Steps steps(context, {1.0, 2.0});
    std::deque<access::TemporaryImage> products;
    std::vector<const ImageModel*> sources;
    std::vector<FieldOutput> outputs;
    for (std::size_t i = 0; i < entriesOf<Filter>; ++i) {
        products.emplace_back(input, access::voxelTypeOf<T>);
        static_cast<void>(products.back().image().setInterpretation(RIX_VALUE));
        sources.push_back(&products.back().image());
        outputs.push_back({&products.back().image()});
    }
    const SecondOrderKernels<T> kernels = secondOrderKernels<T>(level);
    computeField<T>(context, {&input}, gradientsOf(filter), outputs, level,
                    [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                        kernels.products(components, axesOf<Filter>, outs, segment.count);
                    });
    computeTensors<T>(filter, sources, averagesOf(filter), level);
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
    const ImageModel& input = *filter.getInputImage();
    if (TensorOutputs<Filter>(filter).images.empty()) {
        return 0;
    }
    const VoxelTypes type = fieldWorkType(input.getVoxelType());
    const std::size_t threads = filter.getMaximumThreads();
    ImageHeader header = helper::headerOf(input);
    header.voxelType = type;
    return entriesOf<Filter> * access::TemporaryImage::bytes(input, type) +
           std::max(fieldBytes(input, gradientsOf(filter), type, entriesOf<Filter>, threads),
                    fieldBytes(HeaderImage(header), averagesOf(filter), type,
                               TensorOutputs<Filter>(filter).images.size(), threads));
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    const access::Reach inner = fieldReach(gradientsOf(filter));
    const access::Reach outer = fieldReach(averagesOf(filter));
    const auto sum = [](const access::Reach::Axis& a, const access::Reach::Axis& b) {
        return access::Reach::Axis{a.before + b.before, a.after + b.after};
    };
    return {sum(inner.columns, outer.columns), sum(inner.rows, outer.rows), sum(inner.planes, outer.planes)};
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence = &reachOf<Filter>,
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
