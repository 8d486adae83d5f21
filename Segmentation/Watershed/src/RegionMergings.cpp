// Labels of planes and volumes that are merged by their means.

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <utility>

#include <rix/algorithms/Definition.h>
#include <rix/segmentation/RegionMerging2d.h>
#include <rix/segmentation/RegionMerging3d.h>

#include "GridRows.h"
#include "PartSizeRule.h"
#include "RegionGraph.h"

namespace rix::segmentation {

namespace {

/// Rough cost, for deciding whether threads pay.
constexpr double nanosecondsPerVoxel = 30.0;

template <class Filter>
constexpr std::size_t axesOf = std::is_same_v<Filter, RegionMerging3d> ? 3 : 2;

template <class Filter>
void declare(Filter& filter, algorithms::Properties& properties) {
    properties.input(filter.inputLabelImage, "The labels of the regions.", AddRulesForIntegerImage(),
                     AddRulePartSize(axesOf<Filter>));
    properties.input(filter.inputGrayImage, "What the regions are made of.", AddRulesForRealImage(),
                     AddRuleAssertSameSize(filter.inputLabelImage));
    filter.threshold = 10.0;
    properties.input(filter.threshold, "The largest difference of the means of regions that are merged.",
                     AddRuleLimitedValue<double>(0.0, CHECK_GREATER_OR_EQUAL), AddRuleAssertFinite());
    takeAllNeighbors(filter);
    properties.input(filter.neighborhood, "Which voxels touch.");
    properties.output(filter.outputLabelImage, "The labels of the merged regions.", AddRuleAssertNotNull(),
                      AddRuleDisjointFrom(filter.inputLabelImage), AddRuleDisjointFrom(filter.inputGrayImage),
                      AddRuleEnforceLike(filter.inputLabelImage, {.interpretation = RIX_LABEL}));
}

/// Tells most of what was met before from what is new, so that little is sorted.
class Recent {
public:
    Recent() : m_memory(slots * sizeof(std::uint64_t)) { clear(); }
    static constexpr std::size_t bytes() { return access::Scratch::held(slots * sizeof(std::uint64_t)); }

    void clear() const { std::fill_n(m_memory.as<std::uint64_t>(), slots, std::uint64_t{0}); }
    /// Notes a key other than 0. @return false only if it was noted before
    bool isNew(std::uint64_t key) const {
        std::uint64_t& slot = m_memory.as<std::uint64_t>()[key * 0x9E3779B97F4A7C15U >> (64 - bits)];
        return std::exchange(slot, key) != key;
    }

private:
    static constexpr unsigned bits = 14;
    static constexpr std::size_t slots = std::size_t{1} << bits;

    access::Scratch m_memory;
};

/// A plane or volume of labels, which become the numbers of regions, from 1 on in the order of the labels.
class MergedPart {
public:
    explicit MergedPart(const access::PaddedGrid& grid)
        : m_grid(grid), m_labels(grid.cells() * sizeof(std::uint32_t)) {}

    /// The most that there may be.
    static std::size_t bytes(const access::PaddedGrid& grid) {
        const std::size_t pairs = grid.voxels() * (grid.neighborCount() / 2);
        return Recent::bytes() + access::Scratch::held(grid.cells() * sizeof(std::uint32_t)) +
               2 * grid.voxels() * sizeof(std::uint32_t) + pairs * sizeof(RegionGraph::Pair) +
               RegionGraph::bytes(grid.voxels(), pairs);
    }

    std::uint32_t* row(std::size_t row) const { return m_labels.as<std::uint32_t>() + m_grid.cellOfRow(row); }

    void clearMargin(std::size_t y) const {
        auto* const labels = m_labels.as<std::uint32_t>();
        m_grid.forMarginOf(y, [&](std::size_t begin, std::size_t end) { std::fill(labels + begin, labels + end, 0U); });
    }

    /// Numbers the regions. @return how many there are
    std::size_t number() {
        const auto forEachLabel = [&](const auto& use) {
            m_recent.clear();
            forEachRun([&](const std::uint32_t* run, std::size_t) {
                if (m_recent.isNew(*run)) {
                    use(*run);
                }
            });
        };
        std::size_t count = 0;
        forEachLabel([&](std::uint32_t) { ++count; });
        {
            access::CountedVector<std::uint32_t> all;
            all.reserve(count);
            forEachLabel([&](std::uint32_t label) { all.push_back(label); });
            sortOnce(all);
            m_values.reserve(all.size());
            m_values.assign(all.begin(), all.end());
        }
        forEachRun([&](std::uint32_t* run, std::size_t length) {
            const auto at = std::lower_bound(m_values.begin(), m_values.end(), *run);
            std::fill_n(run, length, static_cast<std::uint32_t>(at - m_values.begin()) + 1);
        });
        return m_values.size();
    }

    /// Adds the values of a row to the regions.
    template <class T>
    void add(RegionGraph& graph, std::size_t y, const T* values) const {
        const std::uint32_t* const numbers = row(y);
        for (std::size_t x = 0; x < m_grid.columns(); ++x) {
            const auto value = static_cast<double>(values[x]);
            if (numbers[x] != 0 && std::isfinite(value)) {
                graph.add(numbers[x] - 1, value);
            }
        }
    }

    /// Regions that touch, each pair once.
    RegionGraph::Pairs pairs() const {
        std::size_t count = 0;
        forEachContact([&](RegionGraph::Pair) { ++count; });
        RegionGraph::Pairs all;
        all.reserve(count);
        forEachContact([&](RegionGraph::Pair pair) { all.push_back(pair); });
        sortOnce(all);
        return all;
    }

    /// Takes the labels that the regions have now: the lowest of what was merged.
    void takeMerged(RegionGraph& graph) {
        access::Looks looks;
        for (std::size_t region = 0; region < m_values.size(); ++region) {
            m_values[region] = m_values[graph.rootOf(static_cast<std::uint32_t>(region))];
            looks.add(1);
        }
    }
    /// Gives the voxels of a row the labels of their regions.
    void relabel(std::size_t y) const {
        std::uint32_t* const numbers = row(y);
        for (std::size_t x = 0; x < m_grid.columns(); ++x) {
            if (numbers[x] != 0) {
                numbers[x] = m_values[numbers[x] - 1];
            }
        }
    }

private:
    /// Calls `use(run, count)` for the stretches of a label in rows.
    template <class Use>
    void forEachRun(const Use& use) const {
        access::Looks looks;
        for (std::size_t y = 0; y < m_grid.rows(); ++y) {
            std::uint32_t* const labels = row(y);
            for (std::size_t begin = 0; begin < m_grid.columns();) {
                const std::uint32_t label = labels[begin];
                std::size_t end = begin + 1;
                while (end < m_grid.columns() && labels[end] == label) {
                    ++end;
                }
                if (label != 0) {
                    use(labels + begin, end - begin);
                }
                begin = end;
            }
            looks.add(m_grid.columns() / 16 + 1);
        }
    }

    /// Calls `use(pair)` for voxels of two regions beside each other, but seldom again for the same pair.
    template <class Use>
    void forEachContact(const Use& use) const {
        access::Looks looks;
        m_recent.clear();
        for (std::size_t i = m_grid.neighborCount() / 2; i < m_grid.neighborCount(); ++i) {
            const std::ptrdiff_t step = m_grid.steps()[i];
            if (step == 0) {
                continue;
            }
            for (std::size_t y = 0; y < m_grid.rows(); ++y) {
                const std::uint32_t* const own = row(y);
                const std::uint32_t* const other = own + step;
                for (std::size_t x = 0; x < m_grid.columns(); ++x) {
                    if (own[x] == other[x] || own[x] == 0 || other[x] == 0) {
                        continue;
                    }
                    const RegionGraph::Pair pair = RegionGraph::pairOf(own[x] - 1, other[x] - 1);
                    if (m_recent.isNew(pair)) {
                        use(pair);
                    }
                }
                looks.add(m_grid.columns() / 16 + 1);
            }
        }
    }

    const access::PaddedGrid& m_grid;
    access::Scratch m_labels;
    Recent m_recent;
    access::CountedVector<std::uint32_t> m_values;
};

template <class Filter>
void process(Filter& filter, OptimLevelType /*level*/) {
    const ImageModel& labels = *filter.getInputLabelImage();
    const ImageModel& image = *filter.getInputGrayImage();
    const Neighbors neighbors = neighborsOf(filter.getNeighborhood());
    const Extents extents = helper::getExtents(labels);
    const access::PaddedGrid grid(extents, neighbors.axes, neighbors.farthest);
    const auto mergePart = [&](std::size_t index, const PartRows& rows, const auto& inBlock) {
        const auto at = [&](std::size_t row) { return rowOfPart(extents, neighbors.axes, index, row); };
        MergedPart part(grid);
        rows.forEach([&](std::size_t row) {
            part.clearMargin(row);
            readLabels(labels, at(row), part.row(row));
        });
        inBlock([&](access::BlockProgress& progress) {
            RegionGraph graph(part.number());
            for (std::size_t row = 0; row < grid.rows(); ++row) {
                withRow(access::Reals{}, image, at(row), [&](const auto* values) { part.add(graph, row, values); });
                progress.add(grid.columns() / 4);
            }
            {
                RegionGraph::Pairs pairs = part.pairs();
                graph.merge(pairs, filter.getThreshold());
            }
            part.takeMerged(graph);
        });
        rows.forEach([&](std::size_t row) {
            part.relabel(row);
            writeLabels(*filter.getOutputLabelImage(), at(row), part.row(row));
        });
    };
    forEachPartAlone(filter.executionContext(), grid, partCount(extents, neighbors.axes), nanosecondsPerVoxel,
                     mergePart);
}

template <class Filter>
std::size_t memoryOf(const Filter& filter) {
    const ImageModel& labels = *filter.getInputLabelImage();
    const Neighbors neighbors = neighborsOf(filter.getNeighborhood());
    const Extents extents = helper::getExtents(labels);
    const access::PaddedGrid grid(extents, neighbors.axes, neighbors.farthest);
    const std::size_t threads = filter.getMaximumThreads();
    return std::min(threads, partCount(extents, neighbors.axes)) * MergedPart::bytes(grid) +
           threads * (rowBytes(&labels) + rowBytes(filter.getInputGrayImage()));
}

template <class Filter>
constexpr algorithms::Definition<Filter> definitionOf(const char* summary) {
    return {
        .summary = summary,
        .kind = AlgorithmKind::Labeling,
        .declare = &declare<Filter>,
        .process = &process<Filter>,
        .memory = &memoryOf<Filter>,
        .memoryIsExact = false,  // it depends on the number of regions
    };
}

constexpr auto inPlanes =
    definitionOf<RegionMerging2d>("Merges neighbouring labels whose mean grey values differ little, in each plane.");
constexpr auto inVolumes =
    definitionOf<RegionMerging3d>("Merges neighbouring labels whose mean grey values differ little, in each volume.");

}  // namespace

RIX_DEFINE_ALGORITHM(RegionMerging2d, inPlanes)
RIX_DEFINE_ALGORITHM(RegionMerging3d, inVolumes)

}  // namespace rix::segmentation
