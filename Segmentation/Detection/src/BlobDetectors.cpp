// Blobs: places and scales where the Laplacian of a Gaussian is greatest.

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <type_traits>
#include <vector>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/algorithms/Children.h>
#include <rix/algorithms/Definition.h>
#include <rix/edge_detection/LaplacianOfGaussian2d.h>
#include <rix/edge_detection/LaplacianOfGaussian3d.h>
#include <rix/image/ImageHeader.h>
#include <rix/image/SampleMemory.h>
#include <rix/rules/InputRules.h>
#include <rix/segmentation/BlobDetector2d.h>
#include <rix/segmentation/BlobDetector3d.h>
#include <rix/settings/Settings.h>

#include "PeakPlaces.h"

namespace rix::segmentation {

namespace {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

constexpr std::int32_t mostScales = 100;
constexpr double largestScale = 100.0;
constexpr std::size_t scalesAtOnce = 3;

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, BlobDetector3d> ? 3 : 2;
template <class Filter>
using LaplacianOf = std::conditional_t<axesOf<Filter> == 3, edge_detection::LaplacianOfGaussian3d,
                                       edge_detection::LaplacianOfGaussian2d>;

/// Scales are positive, in order; stands on both.
class RuleScale : public Rules<Property<double>> {
public:
    /// @param least of the scale, or null
    explicit RuleScale(const Property<double>* least) : m_least(least) {}
    void apply(Property<double>& property) override {
        RuleLimitedValue<double>(0.0, CHECK_GREATER).apply(property);
        if (m_least != nullptr && property.get() < m_least->get()) {
            rules::refuse(
                rules::parameterText(property) + " must not be below the least one.",
                "They are " + rules::valueToText(property.get()) + " and " + rules::valueToText(m_least->get()) + '.');
        }
    }
    String describe() const override {
        return m_least != nullptr ? "must be positive, and not below the least scale" : "must be positive";
    }

private:
    const Property<double>* m_least;
};

template <class Filter>
void declareScale(Filter& filter, algorithms::Properties& properties, Property<double>& scale, const char* description,
                  const Property<double>* least) {
    properties.input(scale, description);
    for (std::size_t axis = 0; axis < axesOf<Filter>; ++axis) {
        const algorithms::AddRuleLength length({filter.inputImage, filter.lengthUnit, static_cast<Components>(axis)},
                                               largestScale);
        length(scale);
    }
    scale.getImpl()->addRule(std::make_shared<RuleScale>(least));
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image whose blobs are wanted.", AddRulesForRealImage());
    filter.threshold = 10.0;
    properties.input(filter.threshold, "What blobs are above: half of what they are brighter than around, or less.",
                     AddRuleAssertNotNaN());
    filter.minimumScale = 1.0;
    declareScale(filter, properties, filter.minimumScale, "Standard deviation of the smallest blobs.", nullptr);
    filter.maximumScale = 10.0;
    declareScale(filter, properties, filter.maximumScale, "Standard deviation of the largest blobs.",
                 &filter.minimumScale);
    filter.numberOfScales = 10;
    properties.input(filter.numberOfScales, "Scales, in equal ratios from one to the other.",
                     AddRuleInRange<std::int32_t>(1, mostScales, Bound::Included, Bound::Included));
    properties.input(filter.lengthUnit, "Whether scales are in voxels or in the image's unit.");
    properties.output(filter.outputMeasurement, "A row for each blob.", AddRuleCreateMeasurement());
}

/// The scale at an index, which may lie between two scales.
template <class Filter>
double scaleAt(const Filter& filter, double index) {
    const double first = filter.getMinimumScale();
    const double last = filter.getMaximumScale();
    const std::int32_t count = filter.getNumberOfScales();
    const double part = count == 1 ? 0.0 : index / (count - 1);
    // Of whatever ratio, and not beyond the last by rounding.
    return std::clamp(std::pow(first, 1.0 - part) * std::pow(last, part), first, last);
}

/// What the Laplacian of one scale says of an image.
template <class T>
struct Responses {
    const T* samples = nullptr;  ///< in storage order; null where there is no scale
    T factor{};                  ///< minus the square of the scale
};

/// The responses around places: those of the scale before, of their own, and of the next.
template <class T>
class BlobSearch {
public:
    BlobSearch(const std::array<Responses<T>, scalesAtOnce>& scales, const Extents& extents, std::size_t axes,
               double threshold)
        : m_scales(scales), m_threshold(threshold) {
        m_extents = {extents[COLUMNS], extents[ROWS], axes == 3 ? extents[PLANS] : 1};
    }

    /// Calls `use(x)` for the blobs of a row whose first element is the `offset`-th of the image.
    template <class Use>
    void forEach(std::size_t offset, std::size_t row, std::size_t plane, const Use& use) const {
        const Responses<T>& own = m_scales[1];
        const T* const samples = own.samples + offset;
        const std::size_t columns = m_extents[0];
        for (std::size_t x = 0; x < columns; ++x) {
            const T response = own.factor * samples[x];
            // Neighbours in the row decide nearly always.
            if (static_cast<double>(response) > m_threshold && (x == 0 || response > own.factor * samples[x - 1]) &&
                (x + 1 == columns || response >= own.factor * samples[x + 1]) &&
                isGreatest(response, {x, row, m_extents[2] == 1 ? 0 : plane}, offset + x)) {
                use(x);
            }
        }
    }

    double responseAt(std::size_t place) const {
        return static_cast<double>(m_scales[1].factor * m_scales[1].samples[place]);
    }

    /// From the voxel to the top, along each axis and, as the last, from scale to scale.
    std::array<double, 4> topAround(std::size_t place, const std::array<std::size_t, 3>& at) const {
        std::array<double, 4> top{};
        std::size_t stride = 1;
        for (std::size_t axis = 0; axis < 3; stride *= m_extents[axis++]) {
            if (at[axis] > 0 && at[axis] + 1 < m_extents[axis]) {
                top[axis] = topBetween(responseAt(place - stride), responseAt(place), responseAt(place + stride));
            }
        }
        if (m_scales[0].samples != nullptr && m_scales[2].samples != nullptr) {
            top[3] = topBetween(m_scales[0].factor * m_scales[0].samples[place],
                                m_scales[1].factor * m_scales[1].samples[place],
                                m_scales[2].factor * m_scales[2].samples[place]);
        }
        return top;
    }

private:
    /// Whether no neighbour is above a response, and of those before, which stand first, none is like it.
    bool isGreatest(T response, const std::array<std::size_t, 3>& at, std::size_t place) const {
        const auto [columns, rows, planes] = m_extents;
        const std::size_t left = at[0] > 0 ? 1U : 0U;
        const std::size_t right = at[0] + 1 < columns ? 1U : 0U;
        // The own scale first: most are refused there.
        for (const std::size_t scale : {std::size_t{1}, std::size_t{0}, std::size_t{2}}) {
            const Responses<T>& responses = m_scales[scale];
            if (responses.samples == nullptr) {
                continue;
            }
            for (std::size_t z = at[2] > 0 ? 0U : 1U; z < (at[2] + 1 < planes ? 3U : 2U); ++z) {
                for (std::size_t y = at[1] > 0 ? 0U : 1U; y < (at[1] + 1 < rows ? 3U : 2U); ++y) {
                    const T* const row = responses.samples + (place + (z * rows + y) * columns - (rows + 1) * columns);
                    const std::size_t step = (scale * 3 + z) * 3 + y;
                    constexpr std::size_t ownStep = (1 * 3 + 1) * 3 + 1;
                    for (std::size_t x = 1 - left; x < 2 + right; ++x) {
                        if (step == ownStep && x == 1) {
                            continue;
                        }
                        const T other = responses.factor * *(row + x - 1);
                        const bool comesBefore = step < ownStep || (step == ownStep && x == 0);
                        if (!(comesBefore ? response > other : response >= other)) {
                            return false;
                        }
                    }
                }
            }
        }
        return true;
    }

    std::array<Responses<T>, scalesAtOnce> m_scales;
    std::array<std::size_t, 3> m_extents{};
    double m_threshold;
};

/// Appends the blobs of one scale to a table: two steps of the run.
template <class T, class Filter>
void appendBlobs(Filter& filter, const BlobSearch<T>& search, std::int32_t index, const PeakPlaces& places) {
    access::ExecutionContext& context = filter.executionContext();
    const Extents n = helper::getExtents(*filter.getInputImage());
    PeaksMsr& table = *filter.getOutputMeasurement();
    const access::Plan plan = access::cutBands(n, {.nanosecondsPerVoxel = 2.0});
    const auto lineOf = [&](const access::RowSegment& segment) {
        return ((segment.spectral * n[SEQUENCE] + segment.sequence) * n[PLANS] + segment.plane) * n[ROWS] + segment.row;
    };
    access::CountedVector<std::size_t> before(n[ROWS] * n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES] + 1);
    access::run(context, plan, [&](const access::Block& block) {
        access::Looks looks;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            std::size_t count = 0;
            search.forEach(lineOf(segment) * n[COLUMNS], segment.row, segment.plane, [&](std::size_t) { ++count; });
            before[lineOf(segment) + 1] = count;
            looks.add(segment.count / 16);
        });
    });
    before[0] = table.value.size();
    access::Looks looks;
    for (std::size_t line = 1; line < before.size(); ++line) {
        before[line] += before[line - 1];
        looks.add(1);
    }
    table.resize(before.back());
    access::run(context, plan, [&](const access::Block& block) {
        access::Looks looksOfBlock;
        plan.forEachSegment(block, [&](const access::RowSegment& segment) {
            looksOfBlock.add(segment.count / 16);
            const std::size_t line = lineOf(segment);
            std::size_t row = before[line];
            if (row == before[line + 1]) {
                return;
            }
            search.forEach(line * n[COLUMNS], segment.row, segment.plane, [&](std::size_t x) {
                const std::size_t place = line * n[COLUMNS] + x;
                const std::array<std::size_t, 3> at{x, segment.row, segment.plane};
                const std::array<double, 4> top = search.topAround(place, at);
                std::array<double, 3> voxel{};
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    voxel[axis] = static_cast<double>(at[axis]) + top[axis];
                }
                places.place(table, row, voxel);
                table.setFrame(row, segment.sequence, segment.spectral);
                table.value[row] = search.responseAt(place);
                table.scale[row] = scaleAt(filter, index + top[3]);
                table.radius[row] = table.scale[row] * std::sqrt(static_cast<double>(axesOf<Filter>));
                ++row;
            });
        });
    });
}

template <class Filter>
void setUp(const Filter& filter, LaplacianOf<Filter>& child, std::int32_t index, ImageModel& output) {
    child.setInputImage(filter.getInputImage());
    child.setStandardDeviation(scaleAt(filter, index));
    child.setLengthUnit(filter.getLengthUnit());
    child.setOutputImage(&output);
}

VoxelTypes responseType(const ImageModel& image) {
    return image.getVoxelType() == RIX_FLOAT64 ? RIX_FLOAT64 : RIX_FLOAT32;
}

/// Where the children write, which is not what the input means.
ImageHeader headerOfResponses(const ImageModel& image) {
    ImageHeader header = helper::headerOf(image);
    header.voxelType = responseType(image);
    header.interpretation = RIX_VALUE;
    return header;
}

template <class T, class Filter>
void detect(Filter& filter, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& image = *filter.getInputImage();
    const std::int32_t count = filter.getNumberOfScales();
    const HeaderImage like(headerOfResponses(image));
    std::vector<access::TemporaryMemory> images;
    images.reserve(scalesAtOnce);
    for (std::int32_t i = 0; i < std::min<std::int32_t>(count, scalesAtOnce); ++i) {
        images.emplace_back(like);
    }
    const PeakPlaces places(image, axesOf<Filter>);
    places.start(*filter.getOutputMeasurement(), true);
    const String unit = algorithms::unitOfLengths(filter.getLengthUnit(), *filter.getInputImage());
    filter.getOutputMeasurement()->scale.setUnit(unit);
    filter.getOutputMeasurement()->radius.setUnit(unit);
    std::vector<double> weights;
    for (std::int32_t i = 0; i < count; ++i) {
        weights.insert(weights.end(), {1.0 + scaleAt(filter, i), 0.5, 0.5});
    }
    const access::Steps steps(context, weights);
    std::array<Responses<T>, scalesAtOnce> scales;
    for (std::int32_t i = 0; i <= count; ++i) {
        scales = {scales[1], scales[2], {}};
        if (i < count) {
            ImageModel& responses = images[static_cast<std::size_t>(i) % images.size()].image();
            LaplacianOf<Filter> child;
            setUp(filter, child, i, responses);
            algorithms::runChild(filter, child, level);
            const double scale = scaleAt(filter, i);
            scales[2] = {reinterpret_cast<const T*>(helper::contiguousSamples(responses)),
                         static_cast<T>(-scale * scale)};
        }
        if (i > 0) {
            appendBlobs(filter, BlobSearch<T>(scales, helper::getExtents(image), axesOf<Filter>, filter.getThreshold()),
                        i - 1, places);
        }
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    if (responseType(*filter.getInputImage()) == RIX_FLOAT64) {
        detect<double>(filter, level);
    } else {
        detect<float>(filter, level);
    }
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputImage();
    const Extents n = helper::getExtents(image);
    const auto kept = std::min<std::size_t>(static_cast<std::size_t>(filter.getNumberOfScales()), scalesAtOnce);
    std::size_t most = (n[ROWS] * n[PLANS] * n[SEQUENCE] * n[SPECTRAL_SERIES] + 1) * sizeof(std::size_t);
    for (std::int32_t i = 0; i < filter.getNumberOfScales(); ++i) {
        LaplacianOf<Filter> child;
        child.settings() = filter.settings();
        HeaderImage output;
        setUp(filter, child, i, output);
        most = std::max(most, child.describe().extraMemory);
    }
    return kept * access::TemporaryMemory::bytes(image, responseType(image)) + most;
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Reduction,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<BlobDetector2d>("Finds the bright blobs of each plane, with their sizes.");
constexpr auto inVolumes = definitionOf<BlobDetector3d>("Finds the bright blobs of each volume, with their sizes.");

}  // namespace

RIX_DEFINE_ALGORITHM(BlobDetector2d, inPlanes)
RIX_DEFINE_ALGORITHM(BlobDetector3d, inVolumes)

}  // namespace rix::segmentation
