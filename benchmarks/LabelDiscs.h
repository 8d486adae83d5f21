#pragma once

#include <cstddef>

#include <rix/image/MemoryImage.h>

namespace rix::bench {

/// A square label image of 32 bits: discs of several sizes in the middle of squares of side `cell`, numbered from 1
/// along the rows; about half of the pixels are in one.
io::MemoryImage labelledDiscs(std::size_t side, std::size_t cell);

}  // namespace rix::bench
