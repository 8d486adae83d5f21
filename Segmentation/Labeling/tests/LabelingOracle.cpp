#include "LabelingOracle.h"

namespace rix::segmentation::oracle {

namespace {

struct Offset {
    int x, y, z;
};

/// The neighbours of a voxel; only those that a raster scan meets earlier, when asked for.
std::vector<Offset> neighbours(int axes, bool onlyEarlier) {
    std::vector<Offset> result;
    for (int z = -1; z <= 1; ++z) {
        for (int y = -1; y <= 1; ++y) {
            for (int x = -1; x <= 1; ++x) {
                const int differing = std::abs(x) + std::abs(y) + std::abs(z);
                const bool earlier = z < 0 || (z == 0 && (y < 0 || (y == 0 && x < 0)));
                if (differing > 0 && differing <= axes && (earlier || !onlyEarlier)) {
                    result.push_back({x, y, z});
                }
            }
        }
    }
    return result;
}

/// Where the bands begin, and the extent.
void halve(std::size_t first, std::size_t last, std::size_t largest, std::vector<std::size_t>& firsts) {
    if (last - first <= largest) {
        firsts.push_back(first);
        return;
    }
    const std::size_t middle = first + (last - first) / 2;
    halve(first, middle, largest, firsts);
    halve(middle, last, largest, firsts);
}

/// A voxel's neighbour as an index, if the volume has it.
std::optional<std::size_t> neighbourOf(const Volume& volume, std::size_t index, const Offset& offset) {
    // Below 0 becomes huge: one test a side.
    const std::size_t x = index % volume.columns + static_cast<std::size_t>(offset.x);
    const std::size_t y = index / volume.columns % volume.rows + static_cast<std::size_t>(offset.y);
    const std::size_t z = index / volume.columns / volume.rows + static_cast<std::size_t>(offset.z);
    if (x >= volume.columns || y >= volume.rows || z >= volume.planes) {
        return std::nullopt;
    }
    return volume.indexOf(x, y, z);
}

}  // namespace

ReferenceLabels referenceFloodFill(const Volume& volume, int axes) {
    const auto all = neighbours(axes, false);
    ReferenceLabels result;
    result.labels.assign(volume.voxels.size(), 0);
    std::vector<std::size_t> open;
    for (std::size_t first = 0; first < volume.voxels.size(); ++first) {
        if (volume.voxels[first] == 0 || result.labels[first] != 0) {
            continue;
        }
        result.labels[first] = ++result.count;
        open.push_back(first);
        while (!open.empty()) {
            const std::size_t index = open.back();
            open.pop_back();
            for (const Offset& offset : all) {
                const auto other = neighbourOf(volume, index, offset);
                if (other.has_value() && volume.voxels[*other] != 0 && result.labels[*other] == 0) {
                    result.labels[*other] = result.count;
                    open.push_back(*other);
                }
            }
        }
    }
    return result;
}

std::uint64_t mostLabelsOfScan(const Volume& volume, int axes, std::size_t processors) {
    const bool byPlanes = volume.planes > 1 && volume.planes >= processors;
    const std::size_t extent = byPlanes ? volume.planes : volume.rows;
    std::vector<std::size_t> firsts;
    halve(0, extent, extent / processors + 1, firsts);
    const auto bandOf = [&](std::size_t index) {
        const std::size_t line = index / volume.columns;
        const std::size_t position = byPlanes ? line / volume.rows : line % volume.rows;
        return static_cast<std::size_t>(std::upper_bound(firsts.begin(), firsts.end(), position) - firsts.begin()) - 1;
    };
    const auto earlier = neighbours(axes, true);
    std::vector<std::uint64_t> counts(firsts.size());
    for (std::size_t index = 0; index < volume.voxels.size(); ++index) {
        const bool opens =
            volume.voxels[index] != 0 && std::none_of(earlier.begin(), earlier.end(), [&](const Offset& o) {
                const auto other = neighbourOf(volume, index, o);
                return other.has_value() && bandOf(*other) == bandOf(index) && volume.voxels[*other] != 0;
            });
        counts[bandOf(index)] += opens ? 1 : 0;
    }
    return *std::max_element(counts.begin(), counts.end());
}

}  // namespace rix::segmentation::oracle
