#pragma once

#include "Testing.h"

namespace rix::segmentation::oracle {

/// A binary volume, columns fastest. Anything but 0 is foreground.
struct Volume {
    std::size_t columns = 0;
    std::size_t rows = 0;
    std::size_t planes = 1;
    std::vector<std::uint8_t> voxels;

    Volume(std::size_t c, std::size_t r, std::size_t p = 1) : columns(c), rows(r), planes(p), voxels(c * r * p) {}
    std::size_t indexOf(std::size_t x, std::size_t y, std::size_t z) const { return (z * rows + y) * columns + x; }
    std::uint8_t& at(std::size_t x, std::size_t y, std::size_t z = 0) { return voxels[indexOf(x, y, z)]; }
};

/// Two voxels are neighbours when they differ by at most 1 on each axis and on at most `axes` axes: 1 gives 4 or 6
/// neighbours, 2 gives 8 or 18, 3 gives 26.
struct ReferenceLabels {
    std::vector<std::uint32_t> labels;
    std::uint32_t count = 0;
};
ReferenceLabels referenceFloodFill(const Volume& volume, int axes);

/// The most provisional labels that a scan, pixel by pixel, opens in one of its bands: it opens one at every foreground
/// pixel that has no foreground neighbour among those it has visited in the band.
std::uint64_t mostLabelsOfScan(const Volume& volume, int axes, std::size_t processors);

}  // namespace rix::segmentation::oracle
