// Both gradient operators: that of volumes has a third component and no orientation.

#include <rix/edge_detection/GradientOperator2d.h>
#include <rix/edge_detection/GradientOperator3d.h>
#include <rix/properties/EnumInfo.h>

#include "EdgeProperties.h"
#include "GradientTaps.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<GradientOperator3d> = 3;

namespace {

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is derived.", AddRulesForRealImage());
    properties.input(filter.method, "How derivatives are taken.");
    declareDeviation(filter, properties, filter.standardDeviation, 1.0, "Width of the Gaussian of GAUSSIAN.");
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    std::vector<const Property<ImageModel*>*> before;
    const auto output = [&](Property<ImageModel*>& property, const char* description) {
        properties.output(property, description);
        declareDisjoint(property, filter.inputImage, before);
        addRules(property, AddRuleWhenSet(likeDerivative(filter)));
        before.push_back(&property);
    };
    output(filter.outputImageX, "Optional: the derivative by x.");
    output(filter.outputImageY, "Optional: the derivative by y.");
    if constexpr (ofVolumes<Filter>) {
        output(filter.outputImageZ, "Optional: the derivative by z.");
    }
    output(filter.outputMagnitudeImage, "Optional: the length of the gradient.");
    if constexpr (!ofVolumes<Filter>) {
        output(filter.outputOrientationImage, "Optional: the angle of the gradient in radians.");
    }
}

/// What is computed, and which of it goes where.
template <class Filter>
struct Outputs {
    explicit Outputs(const Filter& filter) {
        add(filter.getOutputImageX());
        add(filter.getOutputImageY());
        if constexpr (ofVolumes<Filter>) {
            add(filter.getOutputImageZ());
        }
        magnitude = rows(filter.getOutputMagnitudeImage());
        if constexpr (!ofVolumes<Filter>) {
            orientation = rows(filter.getOutputOrientationImage());
        }
        if (magnitude != none || orientation != none) {
            for (bool& each : isNeeded) {
                each = true;
            }
        }
    }

    static constexpr std::size_t none = ~std::size_t{0};
    std::array<std::size_t, 3> components{none, none, none};  ///< the rows of their outputs
    std::array<bool, 3> isNeeded{};
    std::size_t magnitude = none;
    std::size_t orientation = none;
    std::vector<FieldOutput> images;

private:
    std::size_t rows(ImageModel* image) {
        if (image == nullptr) {
            return none;
        }
        images.push_back({image});
        return images.size() - 1;
    }
    void add(ImageModel* image) {
        components[m_axis] = rows(image);
        isNeeded[m_axis] = image != nullptr;
        ++m_axis;
    }
    std::size_t m_axis = 0;
};

template <class Filter>
FieldJob jobOf(const Filter& filter, const Outputs<Filter>& outputs) {
    FieldJob job = jobWithBorder(filter);
    const bool inWorld = filter.getLengthUnit() == algorithms::LengthUnit::WORLD;
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        if (!outputs.isNeeded[axis]) {
            continue;
        }
        std::array<std::size_t, 3> orders{};
        orders[axis] = 1;
        const bool isGaussian = filter.getMethod() == GradientMethod::GAUSSIAN;
        job.components.push_back(
            isGaussian ? gaussianComponent(deviationsOf(filter, filter.standardDeviation), orders, unitsOf(filter))
                       : differenceComponent(filter.getMethod(), axis, axesOf<Filter>, inWorld, unitsOf(filter)));
    }
    return job;
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    const ImageModel& input = *filter.getInputImage();
    const Outputs<Filter> outputs(filter);
    if (outputs.images.empty()) {
        return;
    }
    const FieldJob job = jobOf(filter, outputs);
    inWorkType(input, [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto kernels = fieldKernels<T>(level);
        const access::Stores stores = storesOf<T>(input, outputs.images.size());
        const auto row = [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
            std::size_t computed = 0;
            for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
                if (outputs.components[axis] != outputs.none) {
                    kernels.sum(components + computed, 1, outs[outputs.components[axis]], segment.count, stores);
                }
                computed += static_cast<std::size_t>(outputs.isNeeded[axis]);
            }
            if (outputs.magnitude != outputs.none) {
                kernels.magnitude(components, axesOf<Filter>, outs[outputs.magnitude], segment.count, stores);
            }
            if (outputs.orientation != outputs.none) {
                kernels.orientation(components, outs[outputs.orientation], segment.count);
            }
        };
        computeField<T>(filter.executionContext(), {&input}, job, outputs.images, level, row);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const Outputs<Filter> outputs(filter);
    if (outputs.images.empty()) {
        return 0;
    }
    return fieldBytes(input, jobOf(filter, outputs), fieldWorkType(input.getVoxelType()), outputs.images.size(),
                      filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .influence = [](const Filter& filter) { return fieldReach(jobOf(filter, Outputs<Filter>(filter))); },
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes =
    definitionOf<GradientOperator2d>("Derives planes: components, length and angle of gradients.");
constexpr auto inVolumes = definitionOf<GradientOperator3d>("Derives volumes: components and length of gradients.");

}  // namespace

const EnumInfo& getInfoGradientMethod() {
    static const EnumInfo info("Method", "CENTRAL_DIFFERENCES = 0, SOBEL, SCHARR, PREWITT, GAUSSIAN");
    return info;
}

RIX_DEFINE_ALGORITHM(GradientOperator2d, inPlanes)
RIX_DEFINE_ALGORITHM(GradientOperator3d, inVolumes)

}  // namespace rix::edge_detection
