// Both corrections of the background: that of planes and that of volumes.

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <type_traits>
#include <vector>

#include <rix/access/Joins.h>
#include <rix/access/PointFilters.h>
#include <rix/access/RoundedCast.h>
#include <rix/access/Steps.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/algorithms/Definition.h>
#include <rix/algorithms/FilterChoices.h>
#include <rix/algorithms/InputMeaning.h>
#include <rix/filtering/smoothing/BackgroundCorrection2d.h>
#include <rix/filtering/smoothing/BackgroundCorrection3d.h>
#include <rix/image/ImageModelSizeProxy.h>
#include <rix/properties/EnumInfo.h>
#include <rix/rules/When.h>

#include "GaussianRows.h"
#include "GaussianSums.h"
#include "RollingBall.h"

namespace rix::filtering::smoothing {

namespace {

using Extents = std::array<std::size_t, RIX_COMPONENTS_SIZE>;

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, BackgroundCorrection3d>;

/// In voxels.
constexpr double largestRadius = 500.0;

template <class Filter>
algorithms::RuleLength::Measure along(const Filter& filter, Components axis) {
    return {filter.inputImage, filter.lengthUnit, axis};
}

template <class Filter>
std::array<double, 3> radiiOf(const Filter& filter) {
    const auto voxels = [&](Components axis) { return along(filter, axis).voxels(filter.radius); };
    return {voxels(COLUMNS), voxels(ROWS), ofVolumes<Filter> ? voxels(PLANS) : 0.0};
}

template <class Filter>
BallShape ballOf(const Filter& filter) {
    return {radiiOf(filter), filter.getHeight() > 0 ? filter.getHeight() : filter.getRadius(),
            filter.getBackground() == Filter::BRIGHT};
}

template <class Filter>
GaussianJob jobOf(const Filter& filter) {
    return {radiiOf(filter)};
}

/// In what an image is computed, and the type of its background.
template <class Filter>
VoxelTypes workType(const Filter& filter) {
    return gaussianWorkType(filter.getInputImage()->getVoxelType(), {});
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image that is corrected.", AddRulesForRealImage());
    properties.input(filter.method, "How the background is found and taken out.");
    properties.input(filter.background, "For ROLLING_BALL: whether the background is the darker part.");
    filter.radius = 50.0;
    const auto length = [&](Components axis) { return algorithms::AddRuleLength(along(filter, axis), largestRadius); };
    properties.input(filter.radius, "Of the ball, or the standard deviation of the Gaussian.", length(COLUMNS),
                     length(ROWS));
    if constexpr (ofVolumes<Filter>) {
        length(PLANS)(filter.radius);
    }
    properties.input(filter.lengthUnit, "Whether the radius is in voxels or in the image's unit.");
    properties.input(filter.height, "Of the ball, in grey values; 0: as many as the radius.", AddRuleAssertFinite(),
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL));
    properties.onlyWith(filter.method, {Filter::ROLLING_BALL}, filter.background, filter.height);
    properties.input(filter.inputBackgroundImage, "Optional: for FLAT_FIELD, the picture of an empty field.",
                     AddRuleWhenSet(AddRuleAssertSingleElement()), AddRuleWhenSet(AddRuleAssertIntegerOrFloating()),
                     AddRuleWhenSet(AddRuleAssertSameSize(filter.inputImage)));
    properties.onlyWith(filter.method, {Filter::FLAT_FIELD}, filter.inputBackgroundImage);
    properties.output(filter.outputImage, "The corrected image.", AddRuleAssertNotNull(),
                      AddRuleInPlaceOrDisjoint(filter.inputImage),
                      AddRuleWhenSet(filter.inputBackgroundImage, AddRuleDisjointFrom(filter.inputBackgroundImage)),
                      AddRuleEnforceLike(filter.inputImage, {.interpretation = RIX_VALUE}));
    properties.output(
        filter.outputBackgroundImage, "Optional: the background that was found.",
        AddRuleWhenSet(AddRuleDisjointFrom(filter.inputImage)), AddRuleWhenSet(AddRuleDisjointFrom(filter.outputImage)),
        AddRuleWhenSet(filter.inputBackgroundImage, AddRuleWhenSet(AddRuleDisjointFrom(filter.inputBackgroundImage))),
        AddRuleEnforceLike(filter.inputImage,
                           {.interpretation = RIX_VALUE, .chosenType = [&filter] { return workType(filter); }}));
}

/// Running sums of a mean; which of them an element belongs to follows from its place.
struct LaneSums {
    static constexpr std::size_t lanes = 8;
    double sums[lanes] = {};
    double total() const {
        return ((sums[0] + sums[1]) + (sums[2] + sums[3])) + ((sums[4] + sums[5]) + (sums[6] + sums[7]));
    }
};

template <class T>
double meanOf(access::ExecutionContext& context, const ImageModel& image) {
    const LaneSums all = access::reduceLeaves<T, LaneSums>(
        context, image, 0.5,
        [](LaneSums& leaf, const T* samples, std::size_t count, std::size_t index) {
            for (std::size_t i = 0; i < count; ++i) {
                leaf.sums[(index + i) % LaneSums::lanes] += static_cast<double>(samples[i]);
            }
        },
        [](LaneSums& left, const LaneSums& right) {
            for (std::size_t lane = 0; lane < LaneSums::lanes; ++lane) {
                left.sums[lane] += right.sums[lane];
            }
        });
    std::size_t voxels = 0;
    static_cast<void>(helper::getElementCount(image, voxels));
    return all.total() / static_cast<double>(voxels);
}

/// Part of an image: a plane or a volume of one frame and channel.
template <class Image>
ImageModelSizeProxy partOf(Image& image, const Extents& first, const Extents& extents) {
    return {&image, {first.begin(), first.end()}, {extents.begin(), extents.end()}};
}

template <class T, class Out>
void divide(access::ExecutionContext& context, const ImageModel& input, const ImageModel& flat, ImageModel& output) {
    const double mean = meanOf<T>(context, flat);
    combineRows<Out>(
        context, output,
        [mean](const T* in, const T* field, Out* out, std::size_t count) {
            for (std::size_t x = 0; x < count; ++x) {
                const double quotient = static_cast<double>(in[x]) * mean / static_cast<double>(field[x]);
                out[x] = access::roundedSample<Out>(field[x] == 0 ? 0.0 : quotient);
            }
        },
        ReadAs<T>{input}, ReadAs<T>{flat});
}

template <class Filter>
void correctField(Filter& filter, const ImageModel& input, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    ImageModel& output = *filter.getOutputImage();
    const ImageModel* const given = filter.getInputBackgroundImage();
    ImageModel* const background = filter.getOutputBackgroundImage();
    const Extents extents = helper::getExtents(input);
    Extents part = extents;
    part[PLANS] = ofVolumes<Filter> ? extents[PLANS] : 1;
    part[SEQUENCE] = part[SPECTRAL_SERIES] = 1;
    const std::size_t planes = extents[PLANS] / part[PLANS];
    const std::size_t parts = planes * extents[SEQUENCE] * extents[SPECTRAL_SERIES];
    const access::Steps steps(context, {given == nullptr ? 10.0 : 0.0, background != nullptr ? 1.0 : 0.0, 2.0});
    std::optional<access::TemporaryImage> smooth;
    if (given == nullptr) {
        smooth.emplace(input, workType(filter));
        smoothGaussian(context, input, smooth->image(), jobOf(filter), false, level);
    }
    const ImageModel& flat = given != nullptr ? *given : smooth->image();
    access::dispatch(
        access::Floatings{}, workType(filter), access::Reals{}, output.getVoxelType(), [&](auto tagT, auto tagOut) {
            using T = typename decltype(tagT)::type;
            if (background != nullptr) {
                access::transformRows<T, T>(
                    context, flat, *background, nanosecondsPerCombination,
                    [](const T* in, T* out, std::size_t count) { std::copy_n(in, count, out); });
            }
            const access::Steps each(context, 2 * parts);
            for (std::size_t i = 0; i < parts; ++i) {
                const Extents first{0, 0, i % planes, i / planes % extents[SEQUENCE], i / planes / extents[SEQUENCE]};
                const ImageModelSizeProxy in = partOf(input, first, part);
                const ImageModelSizeProxy field = partOf(flat, first, part);
                ImageModelSizeProxy out = partOf(output, first, part);
                divide<T, typename decltype(tagOut)::type>(context, in, field, out);
            }
        });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        if (filter.getMethod() == Filter::ROLLING_BALL) {
            rollBall(filter.executionContext(), input, *filter.getOutputImage(), filter.getOutputBackgroundImage(),
                     ballOf(filter), level);
        } else {
            correctField(filter, input, level);
        }
    });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    if (filter.getMethod() == Filter::ROLLING_BALL) {
        return rollingBallInfluence(ballOf(filter));
    }
    // The mean is one of all voxels.
    const auto all = [&](Components axis) {
        const std::size_t others = filter.getInputImage()->getNumOf(axis) - 1;
        return access::Reach::Axis{others, others};
    };
    return {all(COLUMNS), all(ROWS), ofVolumes<Filter> ? all(PLANS) : access::Reach::Axis{}};
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const std::size_t threads = filter.getMaximumThreads();
    if (filter.getMethod() == Filter::ROLLING_BALL) {
        return rollingBallBytes(input, ballOf(filter), threads);
    }
    const VoxelTypes type = workType(filter);
    const ImageModel* const given = filter.getInputBackgroundImage();
    std::size_t voxels = 0;
    static_cast<void>(helper::getElementCount(input, voxels));
    const std::size_t leaves = (voxels / access::leafElements + 1) * sizeof(LaneSums);
    const std::size_t rows =
        convertedRowBytes(input, type, threads) + (given != nullptr ? convertedRowBytes(*given, type, threads) : 0);
    const std::size_t division = leaves + rows;
    if (given != nullptr) {
        return division;
    }
    return access::TemporaryImage::bytes(input, type) +
           std::max(gaussianWorkingBytes(input, type, jobOf(filter), false, threads), division);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto ofPlanes = definitionOf<BackgroundCorrection2d>("Takes an uneven background out of each plane.");
constexpr auto ofSpace = definitionOf<BackgroundCorrection3d>("Takes an uneven background out of each volume.");

const EnumInfo& infoMethod() {
    static const EnumInfo info("Method", "ROLLING_BALL = 0, FLAT_FIELD");
    return info;
}

const EnumInfo& infoBackground() {
    static const EnumInfo info("Background", "DARK = 0, BRIGHT");
    return info;
}

}  // namespace

const EnumInfo& BackgroundCorrection2d::getInfoMethod() {
    return infoMethod();
}
const EnumInfo& BackgroundCorrection3d::getInfoMethod() {
    return infoMethod();
}
const EnumInfo& BackgroundCorrection2d::getInfoBackground() {
    return infoBackground();
}
const EnumInfo& BackgroundCorrection3d::getInfoBackground() {
    return infoBackground();
}

RIX_DEFINE_ALGORITHM_WITH(BackgroundCorrection2d, algorithms::InputMeaning, ofPlanes)
RIX_DEFINE_ALGORITHM_WITH(BackgroundCorrection3d, algorithms::InputMeaning, ofSpace)

}  // namespace rix::filtering::smoothing
