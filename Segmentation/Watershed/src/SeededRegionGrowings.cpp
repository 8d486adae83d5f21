// Regions that grow to what is most like their mean.

#include <cmath>

#include <rix/access/ValueRanks.h>
#include <rix/algorithms/Definition.h>
#include <rix/segmentation/SeededRegionGrowing2d.h>
#include <rix/segmentation/SeededRegionGrowing3d.h>

#include "GridRows.h"
#include "GrowingQueue.h"
#include "MarkerProperties.h"
#include "PartSizeRule.h"

namespace rix::segmentation {

namespace {

constexpr double nanosecondsPerVoxel = 300.0;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    constexpr bool ofVolumes = std::is_same_v<Filter, SeededRegionGrowing3d>;
    properties.input(filter.inputGrayImage, "What the regions are made of.", AddRulesForRealImage(),
                     AddRulePartSize(ofVolumes ? 3 : 2));
    properties.input(filter.inputMarkerImage, "Where the regions begin: the labels, and 0 elsewhere.",
                     AddRulesForIntegerImage(), AddRuleAssertSameSize(filter.inputGrayImage));
    declareFloodMask(filter, properties, "Optional: no region comes where it is 0.");
    takeAllNeighbors(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    declareMarkerLabels(filter, properties, "The labels of the regions.");
}

/// A plane or volume whose regions grow. Regions are the ranks of labels among those of all markers.
/// @tparam Sum an integer or a real
template <class Sum>
class Growing {
public:
    using Ranks = access::ValueRanks<std::uint32_t, std::uint32_t>;

    explicit Growing(const access::PaddedGrid& grid)
        : m_grid(grid),
          m_values(grid.cells() * sizeof(double)),
          m_labels(grid.cells() * sizeof(std::uint32_t)),
          m_stateMemory(grid.cells()) {}

    static std::size_t bytes(const access::PaddedGrid& grid) {
        using access::Scratch;
        return Scratch::held(grid.cells() * sizeof(double)) + Scratch::held(grid.cells() * sizeof(std::uint32_t)) +
               Scratch::held(grid.cells()) +
               std::max(Ranks::bytes(grid), GrowingQueue::bytes(grid.cells(), grid.voxels())) +
               Scratch::held(grid.voxels() * sizeof(Region));
    }

    void read(const ImageModel& image, const ImageModel& markers, const ImageModel* mask,
              const access::RowSegment& segment, std::size_t row) const {
        const std::size_t first = m_grid.cellOfRow(row);
        m_grid.forMarginOf(row, [&](std::size_t begin, std::size_t end) {
            std::fill(states() + begin, states() + end, settled);
            std::fill(labels() + begin, labels() + end, 0U);
        });
        withRow(access::Reals{}, image, segment, [&](const auto* samples) {
            for (std::size_t x = 0; x < segment.count; ++x) {
                values()[first + x] = static_cast<double>(samples[x]);
                states()[first + x] = std::isfinite(values()[first + x]) ? open : settled;
            }
        });
        forEachMasked(mask, segment, [&](std::size_t x) { states()[first + x] = settled; });
        readLabels(markers, segment, labels() + first);
        for (std::size_t x = first; x < first + segment.count; ++x) {
            labels()[x] = states()[x] == open ? labels()[x] : 0;
        }
    }

    void write(ImageModel& output, const access::RowSegment& segment, std::size_t row) const {
        writeLabels(output, segment, labels() + m_grid.cellOfRow(row));
    }

    void grow(access::BlockProgress& progress) {
        m_regionMemory = access::Scratch(m_grid.voxels() * sizeof(Region));
        findRegions();
        GrowingQueue queue(m_grid.cells(), m_grid.voxels());
        access::Looks looks;
        forEachVoxel(looks, [&](std::size_t cell) {
            queue.clear(cell);
            // Labels are kept by the regions; cells know their region.
            if (labels()[cell] != 0) {
                states()[cell] = settled;
            }
        });
        forEachVoxel(looks, [&](std::size_t cell) {
            if (labels()[cell] != 0) {
                pushAround(queue, cell, labels()[cell] - 1);
            }
        });
        while (!queue.isEmpty()) {
            const GrowingQueue::Taken taken = queue.pop();
            states()[taken.cell] = settled;
            labels()[taken.cell] = taken.region + 1;
            add(regions()[taken.region], taken.cell);
            pushAround(queue, taken.cell, taken.region);
            progress.add(1);
            looks.add(4);
        }
        forEachVoxel(looks, [&](std::size_t cell) {
            if (labels()[cell] != 0) {
                labels()[cell] = regions()[labels()[cell] - 1].label;
            }
        });
    }

private:
    struct Region {
        Sum sum;
        std::uint64_t count;
        std::uint32_t label;
    };
    /// Of cells: free, or nothing comes any more.
    static constexpr std::uint8_t open = 0;
    static constexpr std::uint8_t settled = 1;

    double* values() const { return m_values.as<double>(); }
    std::uint32_t* labels() const { return m_labels.as<std::uint32_t>(); }
    std::uint8_t* states() const { return m_stateMemory.as<std::uint8_t>(); }
    Region* regions() const { return m_regionMemory.as<Region>(); }

    template <class Use>
    void forEachVoxel(access::Looks& looks, const Use& use) const {
        for (std::size_t y = 0; y < m_grid.rows(); ++y) {
            const std::size_t first = m_grid.cellOfRow(y);
            for (std::size_t cell = first; cell < first + m_grid.columns(); ++cell) {
                use(cell);
            }
            looks.add(m_grid.columns() / 8 + 1);
        }
    }

    void add(Region& region, std::size_t cell) const {
        region.sum += static_cast<Sum>(values()[cell]);
        ++region.count;
    }

    /// Gives markers the numbers of their regions, from 1 on, and the regions their sums.
    void findRegions() const {
        const Ranks ranks(m_grid);
        for (std::size_t y = 0; y < m_grid.rows(); ++y) {
            std::copy_n(labels() + m_grid.cellOfRow(y), m_grid.columns(), ranks.row(y));
        }
        std::size_t before = 0;
        std::uint32_t count = 0;
        ranks.forEach([&](std::size_t cell) { return labels()[cell] != 0; },
                      [&](std::size_t cell, std::size_t rank) {
                          if (count == 0 || rank != before) {
                              regions()[count++] = {0, 0, labels()[cell]};
                              before = rank;
                          }
                          add(regions()[count - 1], cell);
                          labels()[cell] = count;
                      });
    }

    void pushAround(GrowingQueue& queue, std::size_t cell, std::uint32_t region) const {
        const Region& of = regions()[region];
        const double mean = static_cast<double>(of.sum) / static_cast<double>(of.count);
        for (std::size_t i = 0; i < m_grid.neighborCount(); ++i) {
            const std::size_t other = cell + static_cast<std::size_t>(m_grid.steps()[i]);
            if (states()[other] == open) {
                queue.push(other, std::fabs(values()[other] - mean), region);
            }
        }
    }

    const access::PaddedGrid& m_grid;
    access::Scratch m_values;
    access::Scratch m_labels;
    access::Scratch m_stateMemory;
    access::Scratch m_regionMemory;
};

/// Calls `use(sum)` with the type of sums of an image.
template <class Use>
void withSum(const ImageModel& image, const Use& use) {
    if (access::contains(access::Floatings{}, image.getVoxelType())) {
        use(double());
    } else {
        use(std::int64_t());
    }
}

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    access::ExecutionContext& context = filter.executionContext();
    const ImageModel& image = *filter.getInputGrayImage();
    const Neighbors neighbors = neighborsOf(filter.getNeighborhood());
    const Extents extents = helper::getExtents(image);
    const access::PaddedGrid grid(extents, neighbors.axes, neighbors.farthest);
    const std::size_t parts = partCount(extents, neighbors.axes);
    withSum(image, [&](auto sum) {
        const auto growPart = [&](std::size_t part, const PartRows& rows, const auto& inBlock) {
            Growing<decltype(sum)> growing(grid);
            rows.forEach([&](std::size_t row) {
                growing.read(image, *filter.getInputMarkerImage(), filter.getInputMaskImage(),
                             rowOfPart(extents, neighbors.axes, part, row), row);
            });
            inBlock([&](access::BlockProgress& progress) { growing.grow(progress); });
            rows.forEach([&](std::size_t row) {
                growing.write(*filter.getOutputLabelImage(), rowOfPart(extents, neighbors.axes, part, row), row);
            });
        };
        forEachPartAlone(context, grid, parts, nanosecondsPerVoxel, growPart);
    });
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& image = *filter.getInputGrayImage();
    const Neighbors neighbors = neighborsOf(filter.getNeighborhood());
    const Extents extents = helper::getExtents(image);
    const access::PaddedGrid grid(extents, neighbors.axes, neighbors.farthest);
    const std::size_t threads = filter.getMaximumThreads();
    return std::min(threads, partCount(extents, neighbors.axes)) * Growing<double>::bytes(grid) +
           threads * (rowBytes(&image) + rowBytes(filter.getInputMarkerImage()) + rowBytes(filter.getInputMaskImage()));
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

constexpr auto inPlanes = definitionOf<SeededRegionGrowing2d>(
    "Lets labelled regions grow, by how near grey values are to their means, in each plane.");
constexpr auto inVolumes = definitionOf<SeededRegionGrowing3d>(
    "Lets labelled regions grow, by how near grey values are to their means, in each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(SeededRegionGrowing2d, inPlanes)
RIX_DEFINE_ALGORITHM(SeededRegionGrowing3d, inVolumes)

}  // namespace rix::segmentation
