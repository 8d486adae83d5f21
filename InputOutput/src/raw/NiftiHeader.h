#pragma once

#include <array>
#include <cstdint>

#include <rix/String.h>

#include "../InputFile.h"
#include "ByteStreams.h"

namespace rix::io {

/// The fields of a NIfTI header that count here, of either version: both tell the same in other places and sizes.
struct NiftiHeader {
    int version = 1;
    bool bigEndian = false;
    bool pair = false;  ///< the samples are in a file beside (.img)
    std::array<std::int64_t, 8> dimensions{};
    int type = 0;
    std::array<double, 8> pixelSizes{};
    std::uint64_t position = 0;  ///< of the samples, unpacked
    double slope = 0.0;
    double intercept = 0.0;
    int units = 0;
    int intent = 0;
    int quaternionCode = 0;
    int affineCode = 0;
    std::array<double, 3> quaternion{};
    std::array<double, 3> quaternionOffset{};
    std::array<std::array<double, 4>, 3> affine{};

    std::size_t bytes() const { return version == 1 ? 348 : 540; }
};

/// Whether a file begins as headers of NIfTI do.
bool isNiftiBeginning(const std::uint8_t* bytes, std::size_t count);

/// Reads the fields; the source is then behind the header. @throws LoadingError
NiftiHeader readNiftiHeader(ByteSource& source);

/// The bytes of a header, in the order of this machine.
std::vector<std::uint8_t> formatNiftiHeader(const NiftiHeader& header);

}  // namespace rix::io
