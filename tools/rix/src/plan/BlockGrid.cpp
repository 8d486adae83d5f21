#include "BlockGrid.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <vector>

namespace rix::cli {
namespace {

constexpr std::size_t axes = RIX_COMPONENTS_SIZE;
constexpr std::size_t most = std::numeric_limits<std::size_t>::max();

/// Running sums of reals begin anew at multiples of so many voxels of an image: those of a block must do so at the same
/// places, for its results to have the bits of those of the whole.
constexpr std::size_t startsAtMultiplesOf = 8;

std::size_t times(std::size_t a, std::size_t b) {
    std::size_t product = 0;
    return helper::checkedMultiply(a, b, product) ? product : most;
}

std::size_t plus(std::size_t a, std::size_t b) {
    return a > most - b ? most : a + b;
}

std::size_t chunksOn(const BlockGrid& grid, std::size_t axis) {
    return (grid.image[axis] + grid.chunk[axis] - 1) / grid.chunk[axis];
}

struct Interval {
    std::size_t first;
    std::size_t last;
};

Interval partOf(const BlockGrid& grid, std::size_t axis, std::size_t part) {
    const std::size_t chunks = chunksOn(grid, axis);
    const auto begin = [&](std::size_t of) {  // chunks * of / parts without its large product
        const std::size_t parts = grid.parts[axis];
        return (chunks / parts * of + chunks % parts * of / parts) * grid.chunk[axis];
    };
    return {begin(part), std::min(begin(part + 1), grid.image[axis])};
}

Interval sourceOn(const BlockGrid& grid, std::size_t axis, std::size_t part, const BorderInfluence& grownBy) {
    Interval all = partOf(grid, axis, part);
    if (axis < grownBy.lower.size()) {
        all.first -= std::min(all.first, grownBy.lower[axis]);
        all.first -= all.first % startsAtMultiplesOf;
        all.last =
            grid.image[axis] - all.last < grownBy.upper[axis] ? grid.image[axis] : all.last + grownBy.upper[axis];
    }
    return all;
}

std::size_t longestSource(const BlockGrid& grid, std::size_t axis, const BorderInfluence& grownBy) {
    std::size_t longest = 0;
    for (std::size_t part = 0; part < grid.parts[axis]; ++part) {
        const Interval source = sourceOn(grid, axis, part, grownBy);
        longest = std::max(longest, source.last - source.first);
    }
    return longest;
}

/// An axis in so many parts, the source of the longest of which has so many elements.
struct Cut {
    std::size_t parts;
    std::size_t longest;
};

/// Those that make the longest shorter than fewer parts do, which starts with one part. One more need not: the new one
/// may be grown on both sides where the others are not.
std::vector<Cut> usefulCuts(BlockGrid grid, std::size_t axis, std::size_t blocks, const BorderInfluence& grownBy) {
    const std::size_t chunks = chunksOn(grid, axis);
    std::vector<Cut> cuts;
    for (std::size_t held = chunks; held > 0;) {  // chunks of the longest part
        const std::size_t parts = (chunks + held - 1) / held;
        if (parts > blocks) {
            break;
        }
        grid.parts[axis] = parts;
        const std::size_t longest = longestSource(grid, axis, grownBy);
        if (cuts.empty() || longest < cuts.back().longest) {
            cuts.push_back({parts, longest});
        }
        held = std::min(held - 1, (chunks + parts - 1) / parts - 1);
    }
    return cuts;
}

}  // namespace

std::size_t BlockGrid::blocks() const {
    std::size_t count = 1;
    for (const std::size_t onAxis : parts) {
        count *= onAxis;
    }
    return count;
}

Box BlockGrid::boxOf(std::size_t block) const {
    Box box;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        const Interval part = partOf(*this, axis, block % parts[axis]);
        box.first[axis] = part.first;
        box.count[axis] = part.last - part.first;
        block /= parts[axis];
    }
    return box;
}

Box BlockGrid::sourceOf(std::size_t block, const BorderInfluence& grownBy) const {
    Box box;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        const Interval part = sourceOn(*this, axis, block % parts[axis], grownBy);
        box.first[axis] = part.first;
        box.count[axis] = part.last - part.first;
        block /= parts[axis];
    }
    return box;
}

Extents BlockGrid::longestParts() const {
    Extents longest{};
    for (std::size_t axis = 0; axis < axes; ++axis) {
        for (std::size_t part = 0; part < parts[axis]; ++part) {
            const Interval all = partOf(*this, axis, part);
            longest[axis] = std::max(longest[axis], all.last - all.first);
        }
    }
    return longest;
}

std::size_t BlockGrid::largestSource(const BorderInfluence& grownBy) const {
    std::size_t product = 1;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        product = times(product, longestSource(*this, axis, grownBy));
    }
    return product;
}

std::size_t BlockGrid::allSources(const BorderInfluence& grownBy) const {
    std::size_t product = 1;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        std::size_t sum = 0;
        for (std::size_t part = 0; part < parts[axis]; ++part) {
            const Interval source = sourceOn(*this, axis, part, grownBy);
            sum = plus(sum, source.last - source.first);
        }
        product = times(product, sum);
    }
    return product;
}

BlockGrid cutIntoBlocks(const Extents& image, std::size_t blocks, const BorderInfluence& grownBy) {
    BlockGrid grid;
    grid.image = image;
    grid.image[SPECTRAL_SERIES] = 1;
    const auto allChunks = [&] {
        std::size_t count = 1;
        for (std::size_t axis = 0; axis < axes; ++axis) {
            count = times(count, chunksOn(grid, axis));
        }
        return count;
    };
    constexpr std::size_t smallest = 32;
    constexpr std::size_t chunksOfBlock = 8;  // so that blocks are of about the same size
    grid.chunk = {std::min<std::size_t>(1024, image[COLUMNS]), std::min<std::size_t>(256, image[ROWS]), 1, 1, 1};
    for (;;) {
        std::size_t& longer = grid.chunk[COLUMNS] > grid.chunk[ROWS] ? grid.chunk[COLUMNS] : grid.chunk[ROWS];
        if (longer <= smallest || allChunks() / chunksOfBlock >= blocks) {
            break;
        }
        longer = std::max(smallest, (longer / 2 + startsAtMultiplesOf - 1) / startsAtMultiplesOf * startsAtMultiplesOf);
    }
    std::array<std::vector<Cut>, axes> cuts;
    for (std::size_t axis = 0; axis < axes; ++axis) {
        cuts[axis] = usefulCuts(grid, axis, blocks, grownBy);
    }
    std::size_t least = most;
    grid.parts = {1, 1, 1, 1, 1};
    for (const Cut& t : cuts[SEQUENCE]) {
        for (const Cut& z : cuts[PLANS]) {
            if (t.parts > blocks / z.parts) {
                break;
            }
            for (const Cut& y : cuts[ROWS]) {
                const std::size_t left = blocks / (t.parts * z.parts) / y.parts;
                if (left == 0) {
                    break;
                }
                const Cut& x = *std::prev(std::ranges::upper_bound(cuts[COLUMNS], left, {}, &Cut::parts));
                const std::size_t elements = times(times(t.longest, z.longest), times(y.longest, x.longest));
                if (elements < least) {
                    least = elements;
                    grid.parts = {x.parts, y.parts, z.parts, t.parts, 1};
                }
            }
        }
    }
    return grid;
}

BorderInfluence sumOf(const BorderInfluence& a, const BorderInfluence& b) {
    BorderInfluence sum;
    for (std::size_t axis = 0; axis < sum.lower.size(); ++axis) {
        sum.lower[axis] = plus(a.lower[axis], b.lower[axis]);
        sum.upper[axis] = plus(a.upper[axis], b.upper[axis]);
    }
    return sum;
}

BorderInfluence largestOf(const BorderInfluence& a, const BorderInfluence& b) {
    BorderInfluence largest;
    for (std::size_t axis = 0; axis < largest.lower.size(); ++axis) {
        largest.lower[axis] = std::max(a.lower[axis], b.lower[axis]);
        largest.upper[axis] = std::max(a.upper[axis], b.upper[axis]);
    }
    return largest;
}

}  // namespace rix::cli
