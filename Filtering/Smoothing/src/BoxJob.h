#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include <rix/image/ImageModel.h>

namespace rix::filtering::smoothing {

/// Holds every sum and count of windows there can be: 2^93 voxels of 32 bit.
__extension__ typedef __int128 WideInteger;

/// What counts beyond the edges of an image.
enum class BoxBorder : std::uint8_t { Mirror, Zero, Continue };

/// The windows along one axis, reduced to what has to be summed.
///
/// The window of index i holds the elements i to i + window - 1 of a sequence that continues the axis beyond its edges,
/// and `periods` whole periods of it. A mirrored axis repeats itself after twice its extent, so that of a larger window
/// the rest alone moves with i. With zeros outside, a window is cut to what can reach the image. Where the edges go on,
/// windows stay whole.
struct BoxAxis {
    static constexpr std::size_t outside = std::numeric_limits<std::size_t>::max();

    BoxAxis() = default;
    BoxAxis(std::size_t axisExtent, std::size_t kernelSize, BoxBorder axisBorder);

    /// The index on the axis of an element of the sequence, or `outside`.
    std::size_t source(std::size_t element) const;
    /// The number of voxels that are summed for each index.
    std::size_t summed() const { return 2 * extent * periods + window; }
    bool isIdentity() const { return window == 1 && periods == 0; }

    std::size_t extent = 1;
    std::size_t window = 1;  ///< 1 to twice the extent, but where the edges go on
    std::size_t periods = 0;
    std::size_t reach = 0;  ///< how far element 0 lies before the axis
    BoxBorder border = BoxBorder::Mirror;
};

/// The work of a run.
struct BoxJob {
    std::array<BoxAxis, 3> axes;  ///< columns, rows, planes
    WideInteger voxels = 1;       ///< of a window, also where they lie outside
    bool mean = false;
    double origin = 0.0;         ///< what is summed is the samples less this, which zeros outside stand for
    bool squares = false;        ///< of reals: the squares of that
    std::size_t bytesOfSum = 0;  ///< of integers: of a sum, where it is none of `BoxSums`

    /// Whether something else than samples of reals is summed.
    bool hasDifferences() const { return origin != 0.0 || squares; }
    /// The number of voxels that are summed for each result; no more than `voxels`.
    WideInteger summed() const;
};

}  // namespace rix::filtering::smoothing
