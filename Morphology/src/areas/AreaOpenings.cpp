// What is small goes: bright for openings, dark for closings.

#include <rix/access/OrderedKeys.h>
#include <rix/algorithms/LeastSize.h>
#include <rix/morphology/AreaClosing2d.h>
#include <rix/morphology/AreaClosing3d.h>
#include <rix/morphology/AreaOpening2d.h>
#include <rix/morphology/AreaOpening3d.h>

#include "IsOneOf.h"
#include "areas/AreaLevels.h"
#include "reconstruction/FloodRun.h"

namespace rix::morphology {

namespace {

constexpr double nanosecondsPerVoxel = 60.0;

template <class Filter>
constexpr bool isOpening = isOneOf<Filter, AreaOpening2d, AreaOpening3d>;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputImage, "The image.", AddRulesForRealImage());
    filter.setMinimumSize(64.0);
    properties.input(filter.minimumSize, isOpening<Filter> ? "The least size of what is bright and stays."
                                                           : "The least size of what is dark and stays.");
    algorithms::addRuleLeastSize(filter.minimumSize, filter.inputImage, filter.lengthUnit,
                                 floodSpaceOf(filter.getNeighborhood()).axes);
    properties.input(filter.lengthUnit, "Whether that is in voxels, or in the image's unit to the power of the axes.");
    takeAllNeighbours(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.output(filter.outputImage, "The image without what is too small.", AddRuleAssertNotNull(),
                      AddRuleEnforceLike(filter.inputImage));
}

/// Calls `use(tag)` with the type of indices of a grid: twice the number of cells fits, one less.
template <class Use>
auto withIndex(const AreaGrid& grid, const Use& use) {
    return grid.cells() < std::size_t{1} << 30 ? use(std::uint32_t()) : use(std::uint64_t());
}

/// What areas are taken of.
struct AreaWork {
    bool opens;
    bool isBinary;
    std::size_t least;
};

/// Keys of voxels, and back.
template <class T>
class AreaKeys {
public:
    using Key = access::KeyOf<T>;

    explicit AreaKeys(bool opens) : m_opens(opens) {}
    Key turned(Key key) const { return m_opens ? key : static_cast<Key>(~key); }
    Key of(T value) const { return isNaN(value) ? std::numeric_limits<Key>::max() : turned(access::keyOf(value)); }
    /// @param before NaN stays what it was
    T valueOf(Key key, T before) const { return isNaN(before) ? before : access::valueOfKey<T>(turned(key)); }

    template <class Levels>
    void fillRow(const T* in, const Levels& levels, std::size_t row, std::size_t columns) const {
        std::transform(in + row * columns, in + (row + 1) * columns, levels.row(row),
                       [this](T value) { return of(value); });
    }
    template <class Levels>
    void writeRow(const Levels& levels, const T* in, T* out, std::size_t row, std::size_t columns) const {
        std::transform(levels.row(row), levels.row(row) + columns, in + row * columns, out + row * columns,
                       [this](Key key, T before) { return valueOf(key, before); });
    }

private:
    bool m_opens;
};

/// The planes or volumes of an image, each by one thread; of a single one the rows are brought in and out by all.
template <class T, class Index>
void openParts(access::ExecutionContext& context, const AreaGrid& grid, std::size_t parts, const AreaWork& work,
               const T* from, T* to) {
    using Key = access::KeyOf<T>;
    using Levels = AreaLevels<Key, Index>;
    const AreaKeys<T> keys(work.opens);
    std::optional<Key> rest;
    if (work.isBinary) {
        rest = keys.of(work.opens ? T{0} : T{1});
    }
    const std::size_t columns = grid.columns();
    if (parts == 1) {
        const access::Steps steps(context, {0.05, 0.9, 0.05});
        Levels levels(grid, std::is_floating_point_v<T>);
        const access::Plan rows = access::cutBands({columns, grid.rows(), 1, 1, 1}, {.nanosecondsPerVoxel = 1.0});
        const auto forEachRow = [&](const auto& use) {
            access::run(context, rows, [&](const access::Block& block) {
                for (std::size_t row = block.rows().begin; row < block.rows().end; ++row) {
                    use(row);
                }
            });
        };
        forEachRow([&](std::size_t row) { keys.fillRow(from, levels, row, columns); });
        const access::Plan whole({grid.voxels(), 1, 1, 1, 1}, access::JoinedAxes::None);
        access::run(context, whole, [&](const access::Block&, access::BlockProgress& progress) {
            levels.open(work.least, rest, progress);
        });
        forEachRow([&](std::size_t row) { keys.writeRow(levels, from, to, row, columns); });
        return;
    }
    // The parts as rows.
    const access::Plan plan =
        access::cutBands({grid.voxels(), parts, 1, 1, 1}, {.nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        Levels levels(grid, std::is_floating_point_v<T>);
        access::Looks looks;
        for (std::size_t part = block.rows().begin; part < block.rows().end; ++part) {
            const T* const in = from + part * grid.voxels();
            for (std::size_t row = 0; row < grid.rows(); ++row) {
                looks.add(columns / 64 + 1);
                keys.fillRow(in, levels, row, columns);
            }
            levels.open(work.least, rest, progress);
            for (std::size_t row = 0; row < grid.rows(); ++row) {
                looks.add(columns / 64 + 1);
                keys.writeRow(levels, in, to + part * grid.voxels(), row, columns);
            }
        }
    });
}

std::size_t partsOf(const Extents& n, const FloodSpace& space) {
    return n[SPECTRAL_SERIES] * n[SEQUENCE] * (space.axes == 3 ? 1 : n[PLANS]);
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& input = *filter.getInputImage();
    ImageModel& output = *filter.getOutputImage();
    const FloodSpace space = floodSpaceOf(filter.getNeighborhood());
    const AreaGrid grid(helper::getExtents(input), space);
    const AreaWork work{.opens = isOpening<Filter>,
                        .isBinary = input.getInterpretation() == RIX_BINARY,
                        .least = algorithms::leastVoxels(filter.getMinimumSize(), filter.getLengthUnit(), input,
                                                         space.axes, grid.voxels() + 1)};
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        const access::Steps steps(context, {0.05, 0.9, 0.05});
        const access::WholeInput<T> whole(context, input, sharingBeside(input, output));
        access::WholeOutput<T> result(output);
        withIndex(grid, [&](auto index) {
            openParts<T, decltype(index)>(context, grid, partsOf(helper::getExtents(input), space), work, whole.data(),
                                          result.data());
        });
        result.commit(context);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& input = *filter.getInputImage();
    const ImageModel* const output = filter.getOutputImage();
    const FloodSpace space = floodSpaceOf(filter.getNeighborhood());
    const AreaGrid grid(helper::getExtents(input), space);
    std::size_t ofPart = 0;
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using Key = access::KeyOf<typename decltype(tag)::type>;
        ofPart = withIndex(grid, [&](auto index) { return AreaLevels<Key, decltype(index)>::bytes(grid); });
    });
    const std::size_t threads = filter.getMaximumThreads();
    return wholeInputBytes(input, output) + wholeOutputBytes(input, output, input.getVoxelType()) +
           std::max(convertedRowBytes(input, threads),
                    std::min(threads, partsOf(helper::getExtents(input), space)) * ofPart);
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
    };
}

constexpr auto opensPlanes = definitionOf<AreaOpening2d>("Takes out what is bright and of a small area in each plane.");
constexpr auto opensVolumes =
    definitionOf<AreaOpening3d>("Takes out what is bright and of a small volume in each volume.");
constexpr auto closesPlanes = definitionOf<AreaClosing2d>("Fills what is dark and of a small area in each plane.");
constexpr auto closesVolumes = definitionOf<AreaClosing3d>("Fills what is dark and of a small volume in each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(AreaOpening2d, opensPlanes)
RIX_DEFINE_ALGORITHM(AreaOpening3d, opensVolumes)
RIX_DEFINE_ALGORITHM(AreaClosing2d, closesPlanes)
RIX_DEFINE_ALGORITHM(AreaClosing3d, closesVolumes)

}  // namespace rix::morphology
