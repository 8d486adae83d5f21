// Where labels end.

#include <type_traits>

#include <rix/access/BorderPolicy.h>
#include <rix/access/TemporaryImage.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WindowFilters.h>
#include <rix/algorithms/Definition.h>
#include <rix/properties/EnumInfo.h>
#include <rix/segmentation/LabelBoundaries2d.h>
#include <rix/segmentation/LabelBoundaries3d.h>

namespace rix::segmentation {

namespace {

template <class Filter>
constexpr bool ofVolumes = std::is_same_v<Filter, LabelBoundaries3d>;

/// What the input means before an output takes its place.
struct BoundariesState : algorithms::AbstractPrivateImplementation {
    Interpretations meaning = RIX_VALUE;
};

template <class Filter>
void rememberLabels(Filter& filter) {
    const ImageModel* const input = filter.getInputLabelImage();
    algorithms::stateOf<BoundariesState>(filter).meaning = input != nullptr ? input->getInterpretation() : RIX_VALUE;
}

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputLabelImage, "The labels.", AddRulesForIntegerImage());
    properties.input(filter.mode, "Which voxels are boundaries.");
    filter.neighborhood = ofVolumes<Filter> ? 2 : 1;
    properties.input(filter.neighborhood, "Which voxels lie beside each other.");
    properties.output(
        filter.outputBinaryImage, "1 on boundaries, 0 elsewhere.", AddRuleAssertNotNull(),
        AddRuleDisjointFrom(filter.inputLabelImage),
        AddRuleEnforceLike(filter.inputLabelImage, {.voxelType = RIX_UINT8, .interpretation = RIX_BINARY}));
}

template <class Filter>
access::BoxNeeds needsOf(const Filter& filter) {
    return {access::reachOfWindow(3, 3, ofVolumes<Filter> ? 3 : 1), ofVolumes<Filter> ? 25.0 : 8.0,
            helper::getSizeOf(filter.getInputLabelImage()->getVoxelType())};
}

/// Marks the voxels of a row whose neighbours of another row, so many columns further, end their label. What lies
/// beyond an edge is the nearest voxel, which is a neighbour, or the voxel itself.
template <LabelBoundariesMode mode, class T>
void markRow(const T* own, const T* other, std::uint8_t* out, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const bool isOther = other[x] != own[x] && (mode != LabelBoundariesMode::BETWEEN || other[x] != 0);
        const bool isAsked = mode == LabelBoundariesMode::OUTER ? own[x] == 0 : own[x] != 0;
        out[x] = static_cast<std::uint8_t>(out[x] | static_cast<std::uint8_t>(isOther && isAsked));
    }
}

template <LabelBoundariesMode mode, class T, class Filter>
void markImage(Filter& filter, const ImageModel& input) {
    const auto border = access::borderOf<T>(access::BorderPolicy::CONTINUE, 0.0);
    const int farthest = static_cast<int>(filter.getNeighborhood()) + 1;  // the sum of squares of a step
    access::transformWindows<T, std::uint8_t>(
        filter.executionContext(), input, *border, *filter.getOutputBinaryImage(), needsOf(filter),
        [&](access::WindowRows<T>& rows, const access::RowSegment& segment, std::uint8_t* out) {
            const auto row = static_cast<std::int64_t>(segment.row);
            const auto plane = static_cast<std::int64_t>(segment.plane);
            std::fill_n(out, segment.count, std::uint8_t{0});
            for (int z = ofVolumes<Filter> ? -1 : 0; z <= (ofVolumes<Filter> ? 1 : 0); ++z) {
                for (int y = -1; y <= 1; ++y) {
                    for (int x = -1; x <= 1; ++x) {
                        if (x * x + y * y + z * z <= farthest) {
                            markRow<mode>(rows.row(row, plane), rows.row(row + y, plane + z) + x, out, segment.count);
                        }
                    }
                }
            }
        });
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    const auto meaning = algorithms::stateOf<BoundariesState>(filter).meaning;
    access::readAsItWas(*filter.getInputLabelImage(), meaning, [&](const ImageModel& input) {
        access::dispatch(access::Integers{}, input.getVoxelType(), [&](auto tag) {
            using T = typename decltype(tag)::type;
            const LabelBoundariesMode mode = filter.getMode();
            if (mode == LabelBoundariesMode::INNER) {
                markImage<LabelBoundariesMode::INNER, T>(filter, input);
            } else if (mode == LabelBoundariesMode::OUTER) {
                markImage<LabelBoundariesMode::OUTER, T>(filter, input);
            } else {
                markImage<LabelBoundariesMode::BETWEEN, T>(filter, input);
            }
        });
    });
}

template <class Filter>
access::Reach reachOf(const Filter& filter) {
    return needsOf(filter).reach;
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputLabelImage();
    return access::windowMemory(input, needsOf(filter), helper::getSizeOf(input.getVoxelType()),
                                filter.getMaximumThreads());
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Neighbourhood,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .prepare = &rememberLabels<Filter>,
        .influence = &reachOf<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto inPlanes = definitionOf<LabelBoundaries2d>("Finds the boundaries of labels in each plane.");
constexpr auto inVolumes = definitionOf<LabelBoundaries3d>("Finds the boundaries of labels in each volume.");

}  // namespace

const EnumInfo& getInfoLabelBoundariesMode() {
    static const EnumInfo info("LabelBoundariesMode", "INNER = 0, OUTER, BETWEEN");
    return info;
}

RIX_DEFINE_ALGORITHM_WITH(LabelBoundaries2d, BoundariesState, inPlanes)
RIX_DEFINE_ALGORITHM_WITH(LabelBoundaries3d, BoundariesState, inVolumes)

}  // namespace rix::segmentation
