#include "RegionNumbers.h"

#include <algorithm>
#include <array>
#include <atomic>

#include <rix/access/Scratch.h>

namespace rix::segmentation {

namespace {

/// What is a number already, not a place.
constexpr std::uint32_t numberBit = std::uint32_t{1} << 31;

/// The extents of a plane or volume.
struct PartExtents {
    PartExtents(const Extents& n, std::size_t axes)
        : columns(n[COLUMNS]), rows(n[ROWS]), planes(axes == 3 ? n[PLANS] : 1) {}
    std::size_t voxels() const { return columns * rows * planes; }
    std::size_t columns;
    std::size_t rows;
    std::size_t planes;
};

/// Sets of voxels as trees: a voxel has the place of one before it, plus 1; that of the first has its own.
class Trees {
public:
    explicit Trees(std::uint32_t* places) : m_places(places) {}
    std::size_t rootOf(std::size_t voxel) {
        while (m_places[voxel] != voxel + 1) {
            const std::size_t before = m_places[voxel] - 1;
            m_places[voxel] = m_places[before];
            voxel = before;
        }
        return voxel;
    }
    void join(std::size_t a, std::size_t b) {
        a = rootOf(a);
        b = rootOf(b);
        m_places[std::max(a, b)] = static_cast<std::uint32_t>(std::min(a, b) + 1);
    }

private:
    std::uint32_t* m_places;
};

/// The steps to neighbours that lie before a voxel.
struct Step {
    std::ptrdiff_t x;
    std::ptrdiff_t y;
    std::ptrdiff_t z;
};
std::size_t stepsBack(const Neighbors& neighbors, std::array<Step, 13>& steps) {
    std::size_t count = 0;
    for (std::ptrdiff_t z = neighbors.axes == 3 ? -1 : 0; z <= 0; ++z) {
        for (std::ptrdiff_t y = -1; y <= 1; ++y) {
            for (std::ptrdiff_t x = -1; x <= 1; ++x) {
                const bool isBefore = z < 0 || y < 0 || (y == 0 && x < 0);
                if (isBefore && (z < 0 || y <= 0) && x * x + y * y + z * z <= neighbors.farthest) {
                    steps[count++] = {x, y, z};
                }
            }
        }
    }
    return count;
}

void numberPart(const std::uint8_t* marks, std::uint32_t* numbers, const PartExtents& n, const Neighbors& neighbors,
                access::BlockProgress& progress) {
    std::array<Step, 13> steps{};
    const std::size_t count = stepsBack(neighbors, steps);
    Trees trees(numbers);
    const auto isIn = [](std::size_t at, std::ptrdiff_t step, std::size_t extent) {
        return static_cast<std::size_t>(static_cast<std::ptrdiff_t>(at) + step) < extent;
    };
    std::size_t voxel = 0;
    for (std::size_t z = 0; z < n.planes; ++z) {
        for (std::size_t y = 0; y < n.rows; ++y) {
            for (std::size_t x = 0; x < n.columns; ++x, ++voxel) {
                numbers[voxel] = 0;
                if (marks[voxel] == 0) {
                    continue;
                }
                numbers[voxel] = static_cast<std::uint32_t>(voxel + 1);
                for (std::size_t i = 0; i < count; ++i) {
                    const Step& step = steps[i];
                    if (!isIn(x, step.x, n.columns) || !isIn(y, step.y, n.rows) || !isIn(z, step.z, n.planes)) {
                        continue;
                    }
                    const std::size_t other =
                        voxel + static_cast<std::size_t>((step.z * static_cast<std::ptrdiff_t>(n.rows) + step.y) *
                                                             static_cast<std::ptrdiff_t>(n.columns) +
                                                         step.x);
                    if (marks[other] != 0) {
                        trees.join(voxel, other);
                    }
                }
            }
            progress.add(n.columns / 2);
        }
    }
    // Roots lie before what belongs to them.
    std::uint32_t last = 0;
    for (std::size_t i = 0; i < n.voxels(); ++i) {
        if (numbers[i] != 0) {
            numbers[i] = numbers[i] == i + 1 ? numberBit | ++last : numbers[numbers[i] - 1];
        }
    }
    for (std::size_t i = 0; i < n.voxels(); ++i) {
        numbers[i] &= ~numberBit;
    }
}

/// Calls `use(offset, progress)` with the first voxels of planes or volumes, each on one thread: a step of the run.
template <class Use>
void forEachPartOf(access::ExecutionContext& context, const Extents& extents, const Neighbors& neighbors,
                   const Use& use) {
    constexpr double nanosecondsPerVoxel = 3.0;
    const std::size_t voxels = PartExtents(extents, neighbors.axes).voxels();
    const access::Plan plan = access::cutBands({voxels, partCount(extents, neighbors.axes), 1, 1, 1},
                                               {.nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        for (std::size_t part = block.rows().begin; part < block.rows().end; ++part) {
            use(part * voxels, progress);
        }
    });
}

}  // namespace

void numberRegions(access::ExecutionContext& context, const std::uint8_t* marks, std::uint32_t* numbers,
                   const Extents& extents, const Neighbors& neighbors) {
    const PartExtents part(extents, neighbors.axes);
    forEachPartOf(context, extents, neighbors, [&](std::size_t first, access::BlockProgress& progress) {
        numberPart(marks + first, numbers + first, part, neighbors, progress);
    });
}

bool dropSmallRegions(access::ExecutionContext& context, const std::uint32_t* labels, double least,
                      std::uint32_t* numbers, const Extents& extents, const Neighbors& neighbors) {
    const std::size_t voxels = PartExtents(extents, neighbors.axes).voxels();
    std::atomic<bool> areSome{false};
    forEachPartOf(context, extents, neighbors, [&](std::size_t first, access::BlockProgress& progress) {
        const access::Scratch memory((voxels + 1) * sizeof(std::uint32_t));
        auto* const areas = memory.as<std::uint32_t>();
        std::fill_n(areas, voxels + 1, 0U);
        for (std::size_t i = first; i < first + voxels; ++i) {
            ++areas[labels[i]];
        }
        progress.add(voxels / 2);
        // Of numbers that occur: the new one, or 0.
        std::uint32_t last = 0;
        std::uint32_t next = 0;
        for (std::size_t i = first; i < first + voxels; ++i) {
            last = std::max(last, numbers[i]);
        }
        for (std::uint32_t label = 1; label <= last; ++label) {
            const bool isSmall = static_cast<double>(areas[label]) < least;
            areas[label] = isSmall ? 0 : ++next;
        }
        if (next == last) {
            return;
        }
        areSome = true;
        areas[0] = 0;
        for (std::size_t i = first; i < first + voxels; ++i) {
            numbers[i] = areas[numbers[i]];
        }
    });
    return areSome;
}

std::size_t dropSmallRegionsBytes(const Extents& extents, const Neighbors& neighbors, std::size_t threads) {
    const std::size_t voxels = PartExtents(extents, neighbors.axes).voxels();
    return std::min(threads, partCount(extents, neighbors.axes)) *
           access::Scratch::held((voxels + 1) * sizeof(std::uint32_t));
}

}  // namespace rix::segmentation
