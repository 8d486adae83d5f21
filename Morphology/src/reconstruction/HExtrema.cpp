// Extrema by their contrast: those that remain of an image, and where they are.

#include <cmath>
#include <limits>

#include <rix/algorithms/InputMeaning.h>
#include <rix/morphology/ExtendedMaxima2d.h>
#include <rix/morphology/ExtendedMaxima3d.h>
#include <rix/morphology/ExtendedMinima2d.h>
#include <rix/morphology/ExtendedMinima3d.h>
#include <rix/morphology/HMaxima2d.h>
#include <rix/morphology/HMaxima3d.h>
#include <rix/morphology/HMinima2d.h>
#include <rix/morphology/HMinima3d.h>
#include <rix/morphology/RegionalMaxima2d.h>
#include <rix/morphology/RegionalMaxima3d.h>
#include <rix/morphology/RegionalMinima2d.h>
#include <rix/morphology/RegionalMinima3d.h>
#include <rix/simd/Loops.h>

#include "IsOneOf.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

template <class Filter>
constexpr bool isOfMaxima =
    isOneOf<Filter, HMaxima2d, HMaxima3d, ExtendedMaxima2d, ExtendedMaxima3d, RegionalMaxima2d, RegionalMaxima3d>;
template <class Filter>
constexpr Extremum extremumOf = isOfMaxima<Filter> ? Extremum::Maximum : Extremum::Minimum;
/// The contrast of extrema counts.
template <class Filter>
constexpr bool hasContrast = requires(const Filter& filter) { filter.getContrast(); };
/// The result tells where extrema are, not what is left without them.
template <class Filter>
constexpr bool isBinaryResult = requires(const Filter& filter) { filter.getOutputBinaryImage(); };

template <class Filter>
auto& outputOf(const Filter& filter) {
    if constexpr (isBinaryResult<Filter>) {
        return filter.outputBinaryImage;
    } else {
        return filter.outputImage;
    }
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image.", AddRulesForRealImage());
    if constexpr (hasContrast<Filter>) {
        filter.setContrast(1.0);
        properties.input(filter.contrast, "Least difference of an extremum to its surroundings.",
                         AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL), AddRuleAssertFinite());
    }
    takeAllNeighbours(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    if constexpr (isBinaryResult<Filter>) {
        properties.output(
            filter.outputBinaryImage, "Where extrema are.", AddRuleAssertNotNull(),
            AddRuleEnforceLike(filter.inputImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
    } else {
        properties.output(filter.outputImage, "The image without flat extrema.", AddRuleAssertNotNull(),
                          AddRuleEnforceLike(filter.inputImage));
    }
}

/// The values of a type, or of a binary image of that type.
template <class T>
struct Range {
    explicit Range(bool isBinary)
        : lowest(isBinary ? T{0} : std::numeric_limits<T>::lowest()),
          highest(isBinary ? T{1} : std::numeric_limits<T>::max()) {}
    T lowest;
    T highest;
};

/// The voxels of a row less the contrast, or with it. Of integers the contrast is rounded up, and what their range does
/// not hold stays at its end.
template <Extremum extremum, class T>
void shiftRow(const T* voxels, T* shifted, std::size_t count, double contrast, const Range<T>& range) {
    constexpr bool isMaximum = extremum == Extremum::Maximum;
    if constexpr (std::is_floating_point_v<T>) {
        for (std::size_t x = 0; x < count; ++x) {
            const double voxel = voxels[x];
            shifted[x] = static_cast<T>(isMaximum ? voxel - contrast : voxel + contrast);
        }
    } else {
        using Distance = std::make_unsigned_t<T>;
        const double largest = std::numeric_limits<Distance>::max();
        const auto steps = static_cast<Distance>(std::min(std::ceil(contrast), largest));
        const T end = isMaximum ? range.lowest : range.highest;
        RIX_INDEPENDENT_ITERATIONS
        for (std::size_t x = 0; x < count; ++x) {
            const auto voxel = static_cast<Distance>(voxels[x]);
            const auto room = static_cast<Distance>(isMaximum ? voxel - static_cast<Distance>(end)
                                                              : static_cast<Distance>(end) - voxel);
            const auto value = static_cast<Distance>(isMaximum ? voxel - steps : voxel + steps);
            shifted[x] = room < steps ? end : static_cast<T>(value);
        }
    }
}

/// What is left of an image without extrema of less contrast.
template <class Filter>
void flatten(Filter& filter, const ImageModel& input, ImageModel& output, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const Range<T> range(algorithms::isBinary(&input));
        const auto start = [&](const FloodImages<T>& images) {
            forEachRowOf(context, images.extents, sizeof(T),
                         [&](const access::RowSegment& segment, std::size_t offset) {
                             shiftRow<extremumOf<Filter>>(images.ground + offset, images.levels + offset, segment.count,
                                                          filter.getContrast(), range);
                         });
        };
        reconstruct<T>(context, input, output, extremumOf<Filter>, floodSpaceOf(filter.getNeighborhood()), level,
                       start);
    });
}

/// Where the regional extrema of an image are.
template <class Filter>
void mark(Filter& filter, const ImageModel& input, ImageModel& output, OptimLevelType level) {
    access::ExecutionContext& context = filter.executionContext();
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Steps steps(context, {0.05, 0.9, 0.05});
        const access::WholeInput<T> whole(context, input, sharingBeside(input, output));
        access::WholeOutput<std::uint8_t> marks(output);
        markExtrema(context, whole.data(), marks.data(), helper::getExtents(input), extremumOf<Filter>,
                    floodSpaceOf(filter.getNeighborhood()), level);
        marks.commit(context);
    });
}

template <class Filter>
void process(Filter& filter, OptimLevelType level) {
    algorithms::readAsItWas(filter, [&](const ImageModel& input) {
        ImageModel& output = *outputOf(filter).get();
        if constexpr (!isBinaryResult<Filter>) {
            flatten(filter, input, output, level);
        } else if constexpr (!hasContrast<Filter>) {
            mark(filter, input, output, level);
        } else {
            const access::Steps steps(filter.executionContext(), {0.7, 0.3});
            access::TemporaryImage flat(input);
            flatten(filter, input, flat.image(), level);
            flat.image().setInterpretation(RIX_VALUE);  // what is 0 and 1 already is read without a copy
            mark(filter, flat.image(), output, level);
        }
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const ImageModel* const output = outputOf(filter).get();
    const FloodSpace space = floodSpaceOf(filter.getNeighborhood());
    const std::size_t threads = filter.getMaximumThreads();
    const Extents extents = helper::getExtents(input);
    const VoxelTypes type = input.getVoxelType();
    if constexpr (!isBinaryResult<Filter>) {
        return reconstructionBytes(input, output, space, threads) + wholeOutputBytes(input, output, type);
    }
    const std::size_t search =
        wholeOutputBytes(input, output, RIX_UINT8) +
        std::max(extremaSearchBytes(extents, type, space, threads), convertedRowBytes(input, threads));
    if constexpr (!hasContrast<Filter>) {
        return wholeInputBytes(input, output) + search;
    }
    // An input that is the output has another meaning by then, and is read through a copy.
    return access::TemporaryImage::bytes(input, type) +
           std::max(reconstructionBytes(input, output, space, threads), search);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &algorithms::rememberMeaning<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

}  // namespace

#define RIX_DEFINE_PAIR(Name, text)                                                         \
    static constexpr auto definitionOf##Name##2d = definitionOf<Name##2d>(text " plane.");  \
    static constexpr auto definitionOf##Name##3d = definitionOf<Name##3d>(text " volume."); \
    RIX_DEFINE_ALGORITHM_WITH(Name##2d, algorithms::InputMeaning, definitionOf##Name##2d)   \
    RIX_DEFINE_ALGORITHM_WITH(Name##3d, algorithms::InputMeaning, definitionOf##Name##3d)

RIX_DEFINE_PAIR(HMaxima, "Takes the maxima of little contrast out of each")
RIX_DEFINE_PAIR(HMinima, "Fills the minima of little contrast in each")
RIX_DEFINE_PAIR(ExtendedMaxima, "Finds the maxima of enough contrast in each")
RIX_DEFINE_PAIR(ExtendedMinima, "Finds the minima of enough contrast in each")
RIX_DEFINE_PAIR(RegionalMaxima, "Finds the plateaus that lie higher than all around them in each")
RIX_DEFINE_PAIR(RegionalMinima, "Finds the plateaus that lie lower than all around them in each")

}  // namespace rix::morphology
