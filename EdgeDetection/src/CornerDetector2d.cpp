// Corners: where the structure tensor has two large eigenvalues.

#include <rix/edge_detection/CornerDetector2d.h>

#include <cmath>
#include <optional>

#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/properties/EnumInfo.h>

#include "FeatureTable.h"
#include "GradientProducts.h"
#include "Peaks.h"

namespace rix::edge_detection {

namespace {

/// Of the greatest measure, where no threshold is set.
constexpr double partOfGreatest = 0.01;
constexpr double nanosecondsPerVoxel = 1.5;

void declare(CornerDetector2d& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose corners are wanted.", AddRulesForRealImage());
    properties.input(filter.method, "What tells that something is a corner.");
    declareDeviation(filter, properties, filter.innerStandardDeviation, 1.0,
                     "Width of the Gaussian whose derivatives are taken.");
    declareDeviation(filter, properties, filter.outerStandardDeviation, 2.0,
                     "Width of the Gaussian that averages products.");
    filter.sensitivity = 0.05;
    properties.input(filter.sensitivity, "What edges are taken off with, by Harris.",
                     AddRuleInRange<double>(0.0, 0.25, Bound::Included, Bound::Included));
    properties.onlyWith(filter.method, {CornerMethod::HARRIS}, filter.sensitivity);
    filter.threshold = -1.0;
    properties.input(filter.threshold, "The least measure; negative: a hundredth of the greatest.",
                     AddRuleAssertFinite());
    filter.minimumDistance = 1.0;
    properties.input(filter.minimumDistance, "How far from a stronger corner one is at least.", AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    declareUnit(filter, properties, "Whether lengths are in voxels or in the image's unit.");
    properties.border(filter.borderPolicy, filter.borderValue);
    properties.output(filter.outputResponseImage, "Optional: the measure.");
    declareDisjoint(filter.outputResponseImage, filter.inputImage, {});
    addRules(filter.outputResponseImage, AddRuleWhenSet(likeDerivative(filter)));
    properties.output(filter.outputMeasurement, "Optional: the corners.");
}

/// The gradient of the image as both Gaussians smooth it.
FieldJob directionsOf(const CornerDetector2d& filter) {
    FieldJob job = jobWithBorder(filter);
    const auto inner = deviationsOf(filter, filter.innerStandardDeviation);
    const auto outer = deviationsOf(filter, filter.outerStandardDeviation);
    std::array<double, 3> both{};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        both[axis] = std::sqrt(inner[axis] * inner[axis] + outer[axis] * outer[axis]);
    }
    for (std::size_t axis = 0; axis < 2; ++axis) {
        std::array<std::size_t, 3> orders{};
        orders[axis] = 1;
        job.components.push_back(gaussianComponent(both, orders, unitsOf(filter)));
    }
    return job;
}

template <class T>
void measureRow(const CornerDetector2d& filter, const T* const* tensor, T* out, std::size_t count) {
    const T sensitivity = static_cast<T>(filter.getSensitivity());
    const bool isHarris = filter.getMethod() == CornerMethod::HARRIS;
    for (std::size_t x = 0; x < count; ++x) {
        const T sum = tensor[0][x] + tensor[2][x];
        if (isHarris) {
            out[x] = (tensor[0][x] * tensor[2][x] - tensor[1][x] * tensor[1][x]) - sensitivity * (sum * sum);
        } else {
            const T half = T{0.5} * (tensor[0][x] - tensor[2][x]);
            out[x] = T{0.5} * sum - std::sqrt(half * half + tensor[1][x] * tensor[1][x]);
        }
    }
}

/// The corners of a plane.
template <class T>
std::vector<Peak> cornersOf(const T* measures, std::size_t columns, std::size_t rows, double threshold,
                            const std::array<double, 2>& apart) {
    access::Looks looks;
    T least = static_cast<T>(threshold);
    if (threshold < 0.0) {
        T greatest{0};
        for (std::size_t y = 0; y < rows; ++y) {
            const T* const row = measures + y * columns;
            for (std::size_t x = 0; x < columns; ++x) {
                greatest = row[x] > greatest ? row[x] : greatest;
            }
            looks.add(columns / 64 + 1);
        }
        least = static_cast<T>(partOfGreatest) * greatest;
    }
    std::vector<Peak> peaks;
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < columns; ++x) {
            const T value = measures[y * columns + x];
            if (!(value > T{0} && value >= least)) {
                continue;
            }
            const auto at = [&](int dx, int dy, int /*dz*/) {
                const std::size_t column = x + static_cast<std::size_t>(dx);  // wraps before the first
                const std::size_t row = y + static_cast<std::size_t>(dy);
                return column < columns && row < rows ? measures[row * columns + column]
                                                      : -std::numeric_limits<T>::infinity();
            };
            if (isPeak(value, 0, at)) {
                peaks.push_back(peakAt(static_cast<double>(value), {x, y, 0}, 0, 0.0, at));
            }
        }
        looks.add(columns / 32 + 1);
    }
    orderByStrength(peaks);
    if (apart[0] > 1.0 || apart[1] > 1.0) {
        thinOut(peaks, columns, rows, 0,
                [&](const Peak& peak, const auto& mark) { forEachCellWithin(peak, apart, columns, rows, mark); });
    }
    return peaks;
}

template <class T>
void detect(CornerDetector2d& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    const access::Steps steps(context, {1.0, 2.0, 1.0});
    access::TemporaryMemory measures(input, access::voxelTypeOf<T>);
    static_cast<void>(measures.image().setInterpretation(RIX_VALUE));
    std::vector<FieldOutput> outputs{{&measures.image()}};
    if (filter.getOutputResponseImage() != nullptr) {
        outputs.push_back({filter.getOutputResponseImage()});
    }
    {
        const GradientProducts<T, CornerDetector2d> products(filter, level);
        computeField<T>(context, products.images(), averagesOf(filter), outputs, level,
                        [&](const T* const* tensor, T* const* outs, const access::RowSegment& segment) {
                            measureRow(filter, tensor, outs[0], segment.count);
                            for (std::size_t i = 1; i < outputs.size(); ++i) {
                                std::copy_n(outs[0], segment.count, outs[i]);
                            }
                        });
    }
    FeaturesMsr* const table = filter.getOutputMeasurement();
    if (table == nullptr) {
        return;
    }
    const auto extents = helper::getExtents(input);
    const std::size_t plane = extents[COLUMNS] * extents[ROWS];
    const PlanesOf planes(extents);
    const std::array<double, 3> units = unitsOf(filter);
    const std::array<double, 2> apart{filter.getMinimumDistance() / units[0], filter.getMinimumDistance() / units[1]};
    const auto* const samples = reinterpret_cast<const T*>(measures.image().getInternalBuffer());
    std::vector<std::vector<Peak>> corners(planes.count());
    access::forEachPart(context, planes.count(), nanosecondsPerVoxel * static_cast<double>(plane), [&](std::size_t i) {
        corners[i] = cornersOf(samples + i * plane, extents[COLUMNS], extents[ROWS], filter.getThreshold(), apart);
    });
    // The measures are done with: their memory takes the derivatives by x.
    access::TemporaryMemory other(input, access::voxelTypeOf<T>);
    static_cast<void>(other.image().setInterpretation(RIX_VALUE));
    computeField<T>(context, {&input}, directionsOf(filter), {{&measures.image()}, {&other.image()}}, level,
                    [&](const T* const* components, T* const* outs, const access::RowSegment& segment) {
                        std::copy_n(components[0], segment.count, outs[0]);
                        std::copy_n(components[1], segment.count, outs[1]);
                    });
    const auto* const ofRows = reinterpret_cast<const T*>(other.image().getInternalBuffer());
    fillFeatures(*table, {.orientations = true}, input, planes, corners,
                 [&](std::size_t i, std::size_t image, const Peak& peak) {
                     const std::size_t at = image * plane + peak.cell[1] * extents[COLUMNS] + peak.cell[0];
                     table->orientation[i] =
                         std::atan2(static_cast<double>(ofRows[at]), static_cast<double>(samples[at]));
                     return std::array<double, 2>{peak.at[0], peak.at[1]};
                 });
}

void process(CornerDetector2d& filter, OptimLevelType level) {
    if (filter.getOutputResponseImage() == nullptr && filter.getOutputMeasurement() == nullptr) {
        return;
    }
    inWorkType(*filter.getInputImage(), [&](auto tag) { detect<typename decltype(tag)::type>(filter, level); });
}

std::size_t memoryOf(const CornerDetector2d& filter) {
    const std::size_t images = filter.getOutputResponseImage() != nullptr ? 2 : 1;
    if (images == 1 && filter.getOutputMeasurement() == nullptr) {
        return 0;
    }
    const ImageModel& input = *filter.getInputImage();
    const VoxelTypes type = fieldWorkType(input.getVoxelType());
    const std::size_t image = access::TemporaryMemory::bytes(input, type);
    std::size_t most = averagedProductsBytes(filter, images);
    if (filter.getOutputMeasurement() != nullptr) {
        const auto extents = helper::getExtents(input);
        const std::size_t threads = std::min<std::size_t>(filter.getMaximumThreads(), PlanesOf(extents).count());
        most = std::max({most, image + fieldBytes(input, directionsOf(filter), type, 2, filter.getMaximumThreads()),
                         threads * thinningBytes(extents[COLUMNS] * extents[ROWS])});
    }
    return image + most;
}

constexpr algorithms::Definition<CornerDetector2d> definition{
    .summary = "Finds the corners of planes.",
    .kind = AlgorithmKind::Neighbourhood,
    .declare = &declare,
    .process = &process,
    .influence = &averagedProductsReach<CornerDetector2d>,
    .memory = &memoryOf,
};

}  // namespace

const EnumInfo& getInfoCornerMethod() {
    static const EnumInfo info("Method", "HARRIS = 0, SHI_TOMASI");
    return info;
}

RIX_DEFINE_ALGORITHM(CornerDetector2d, definition)

}  // namespace rix::edge_detection
