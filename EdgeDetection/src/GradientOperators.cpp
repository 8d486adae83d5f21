// Both gradient operators: that of volumes has a third component and no orientation.

#include <cmath>

#include <rix/access/BorderConditions.h>
#include <rix/access/WindowFilters.h>
#include <rix/edge_detection/GradientOperator2d.h>
#include <rix/edge_detection/GradientOperator3d.h>
#include <rix/properties/EnumInfo.h>

#include "EdgeProperties.h"
#include "GradientTaps.h"
#include "NearGradients.h"

namespace rix::edge_detection {

template <>
constexpr std::size_t axesOf<GradientOperator3d> = 3;

namespace {

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is derived.", AddRulesForRealImage());
    properties.input(filter.method, "How derivatives are taken.");
    declareDeviation(filter, properties, filter.standardDeviation, 1.0, "Width of the Gaussian of GAUSSIAN.");
    properties.onlyWith(filter.method, {GradientMethod::GAUSSIAN}, filter.standardDeviation);
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

/// Whether only the length of a gradient in windows of 3 x 3 is wanted, of samples that have a kernel for it.
bool isNear(const GradientOperator2d& filter, const FieldJob& job) {
    const ImageModel& input = *filter.getInputImage();
    const VoxelTypes type = input.getVoxelType();
    const double value = filter.getBorderValue();
    const bool isByte = value >= 0.0 && value <= 255.0 && value == std::floor(value);
    return filter.getOutputMagnitudeImage() != nullptr && filter.getOutputImageX() == nullptr &&
           filter.getOutputImageY() == nullptr && filter.getOutputOrientationImage() == nullptr &&
           filter.getMethod() != GradientMethod::GAUSSIAN && job.components[0].taps[1].half.size() == 2 &&
           (type == RIX_FLOAT32 || (type == RIX_UINT8 && filter.getLengthUnit() == algorithms::LengthUnit::VOXEL &&
                                    (filter.getBorderPolicy() != access::BorderPolicy::FIXED || isByte)));
}

/// Along both axes derivatives have the same weights but in the world, where only along them they may differ.
bool isAlike(const FieldJob& job) {
    return job.components[0].taps[0] == job.components[1].taps[1];
}

access::BoxNeeds nearNeeds(const ImageModel& input) {
    constexpr access::Reach::Axis axis{1, 1};
    access::BoxNeeds needs{{axis, axis, {}}, 0.5};
    needs.heldBytesPerVoxel = helper::getSizeOf(input.getVoxelType());
    return needs;
}

template <class T, class Kernel>
void computeNear(GradientOperator2d& filter, const FieldJob& job, const Kernel& kernel) {
    const ImageModel& input = *filter.getInputImage();
    const auto border = access::borderOf<T>(job.border, job.borderValue);
    const access::Stores stores = storesOf<float>(input, 1);
    const auto& across = job.components[0].taps[1].half;
    const NearWeights weights{static_cast<float>(across[0]), static_cast<float>(across[1]),
                              static_cast<float>(job.components[0].taps[0].half[1])};
    access::transformWindows<T, float>(
        filter.executionContext(), input, *border, *filter.getOutputMagnitudeImage(), nearNeeds(input),
        [&](access::WindowRows<T>& window, const access::RowSegment& segment, float* out) {
            const auto y = static_cast<std::int64_t>(segment.row);
            const auto z = static_cast<std::int64_t>(segment.plane);
            const T* const rows[3] = {window.row(y - 1, z), window.row(y, z), window.row(y + 1, z)};
            kernel(rows, weights, out, segment.count, stores);
        });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    const ImageModel& input = *filter.getInputImage();
    const Outputs<Filter> outputs(filter);
    if (outputs.images.empty()) {
        return;
    }
    const FieldJob job = jobOf(filter, outputs);
    if constexpr (!ofVolumes<Filter>) {
        if (isNear(filter, job) && isAlike(job)) {
            const NearGradients kernels = nearGradients(level);
            if (input.getVoxelType() == RIX_FLOAT32) {
                computeNear<float>(filter, job, kernels.ofFloats);
            } else {
                computeNear<std::uint8_t>(filter, job, kernels.ofBytes);
            }
            return;
        }
    }
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
    const FieldJob job = jobOf(filter, outputs);
    if constexpr (!ofVolumes<Filter>) {
        if (isNear(filter, job) && isAlike(job)) {
            return access::windowMemory(input, nearNeeds(input), helper::getSizeOf(input.getVoxelType()),
                                        filter.getMaximumThreads());
        }
    }
    return fieldBytes(input, job, fieldWorkType(input.getVoxelType()), outputs.images.size(),
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
