#pragma once

#include <cstddef>
#include <string>

#include <rix/image/MemoryImage.h>

namespace rix::bench {

/// The side of generated images whose names don't tell it.
inline constexpr std::size_t labelingSide = 4096;

/// A binary image, made when it is first asked for: "blobs", "cells", "texture", one of the patterns "full", "comb",
/// "checker", "dots", "lines" and "rings", or noise: "r" and the percentage of foreground. Blobs and noise may be
/// followed by another side, as in "blobs1024" and "r50x512". In 3D "blobs3", and "v" and the percentage, of side 256.
const io::MemoryImage& imageNamed(const std::string& name);

}  // namespace rix::bench
