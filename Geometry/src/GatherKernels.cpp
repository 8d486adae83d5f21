#include "GatherKernels.h"

#include <cstdint>
#include <cstring>
#include <type_traits>

#include <rix/access/OrderedKeys.h>
#include <rix/access/SampleCast.h>
#include <rix/access/StreamKernels.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "GatherKernels.cpp"
#include <rix/simd/KernelTargets.h>

#include <hwy/highway.h>

#include <rix/access/Stores-inl.h>

HWY_BEFORE_NAMESPACE();
namespace rix::geometry::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using access::lineBytes;
using access::Stores;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128
#define RIX_GEOMETRY_VECTORS 1
#else
#define RIX_GEOMETRY_VECTORS 0
#endif

/// A line from memory to memory, whatever lies where.
template <Stores stores>
HWY_INLINE void storeLine(RawData to, const std::uint8_t* from) {
    if (stores == Stores::Streaming && reinterpret_cast<std::uintptr_t>(to) % lineBytes == 0) {
        access::HWY_NAMESPACE::streamLine(to, from);
    } else {
        std::memcpy(to, from, lineBytes);
    }
}

/// Elements as plain integers of their size; those of 16 bytes as pairs.
template <std::size_t size>
using LaneOf = typename access::UnsignedOfBytes<(size < 8 ? size : 8)>::Type;

/// A line of elements, last to first.
template <std::size_t size>
HWY_INLINE void reverseLine(const std::uint8_t* from, std::uint8_t* to) {
#if RIX_GEOMETRY_VECTORS
    // Bytes as pairs, which are then swapped.
    using Lane = std::conditional_t<size == 1, std::uint16_t, LaneOf<size>>;
    const hn::ScalableTag<Lane> d;
    constexpr std::size_t vector = hn::MaxLanes(hn::ScalableTag<std::uint8_t>());
    for (std::size_t at = 0; at < lineBytes; at += vector) {
        const auto* const source = reinterpret_cast<const Lane*>(from + lineBytes - vector - at);
        auto v = hn::Reverse(d, hn::LoadU(d, source));
        if constexpr (size == 1) {
            v = hn::Or(hn::ShiftLeft<8>(v), hn::ShiftRight<8>(v));
        }
        if constexpr (size == 16) {
            v = hn::Shuffle01(v);
        }
        hn::StoreU(v, d, reinterpret_cast<Lane*>(to + at));
    }
#else
    using Lane = LaneOf<size>;
    constexpr std::size_t parts = size / sizeof(Lane);
    Lane in[lineBytes / sizeof(Lane)];
    Lane out[lineBytes / sizeof(Lane)];
    std::memcpy(in, from, lineBytes);
    for (std::size_t i = 0; i < lineBytes / size; ++i) {
        for (std::size_t part = 0; part < parts; ++part) {
            out[i * parts + part] = in[lineBytes / sizeof(Lane) - (i + 1) * parts + part];
        }
    }
    std::memcpy(to, out, lineBytes);
#endif
}

template <std::size_t size, Stores stores>
void reverseRow(RawData to, ConstRawData from, std::size_t count) {
    constexpr std::size_t line = lineBytes / size;
    ConstRawData end = from + count * size;
    const auto some = [&](std::size_t elements) {
        for (std::size_t i = 0; i < elements; ++i, to += size) {
            end -= size;
            std::memcpy(to, end, size);
        }
        count -= elements;
    };
    if (count >= line) {
        some(access::samplesBeforeLine(to, size, line));
    }
    while (count >= line) {
        alignas(lineBytes) std::uint8_t turned[lineBytes];
        end -= lineBytes;
        reverseLine<size>(end, turned);
        storeLine<stores>(to, turned);
        to += lineBytes;
        count -= line;
    }
    some(count);
}

// Transposition ------------------------------------------------------------------------------------------------------

// A square has a line of the cache in each row of either image. Its rows are brought into the first-level cache as they
// are, line by line: rows that are a power of two apart fall into the same few places there, and none would wait for
// its next elements. Squares of 16 bytes are then transposed in registers, several in the parts of one vector.

#if RIX_GEOMETRY_VECTORS

using Bytes = hn::ScalableTag<std::uint8_t>;
constexpr std::size_t partBytes = 16;                            ///< of a vector that interleave for themselves
constexpr std::size_t partsOfLine = lineBytes / partBytes;       ///< of a line
constexpr std::size_t vectorParts = hn::MaxLanes(Bytes()) / 16;  ///< of a vector
static_assert(partsOfLine % vectorParts == 0);

/// Transposes squares of `side` times `side` elements in each part of as many vectors, `side` at a time: a perfect
/// shuffle of the rows for every bit of the side.
template <std::size_t side, class D, class V>
HWY_INLINE void shuffleRows(D d, V* rows) {
    for (std::size_t stage = 1; stage < side; stage *= 2) {
        V mixed[side];
        for (std::size_t i = 0; i < side / 2; ++i) {
            mixed[2 * i] = hn::InterleaveLower(d, rows[i], rows[i + side / 2]);
            mixed[2 * i + 1] = hn::InterleaveUpper(d, rows[i], rows[i + side / 2]);
        }
        for (std::size_t i = 0; i < side; ++i) {
            rows[i] = mixed[i];
        }
    }
}

/// Of squares as `keepRow` keeps them.
template <std::size_t size>
HWY_INLINE void transposeSquare(const std::uint8_t* in, std::uint8_t* out) {
    constexpr std::size_t side = partBytes / size;
    const hn::ScalableTag<LaneOf<size>> d;
    using V = decltype(hn::Zero(d));
    using Lane = LaneOf<size>;
    for (std::size_t group = 0; group < partsOfLine / vectorParts; ++group) {
        for (std::size_t part = 0; part < partsOfLine; ++part) {
            V rows[side];
            for (std::size_t i = 0; i < side; ++i) {
                const std::size_t at = ((group * partsOfLine + part) * side + i) * vectorParts * partBytes;
                rows[i] = hn::Load(d, reinterpret_cast<const Lane*>(in + at));
            }
            shuffleRows<side>(d, rows);
            for (std::size_t i = 0; i < side; ++i) {
                const std::size_t at = (part * side + i) * lineBytes + group * vectorParts * partBytes;
                hn::Store(rows[i], d, reinterpret_cast<Lane*>(out + at));
            }
        }
    }
}

/// Where a part of a row of a square is kept, so that rows which are transposed abreast lie beside each other.
template <std::size_t size>
constexpr std::size_t placeOf(std::size_t row, std::size_t part) {
    constexpr std::size_t side = partBytes / size;
    const std::size_t group = row / (side * vectorParts);
    const std::size_t abreast = row / side % vectorParts;
    return (((group * partsOfLine + part) * side + row % side) * vectorParts + abreast) * partBytes;
}

template <std::size_t size>
HWY_INLINE void keepRow(const std::uint8_t* line, std::size_t row, std::uint8_t* square) {
    const hn::Full128<std::uint8_t> d;
    for (std::size_t part = 0; part < partsOfLine; ++part) {
        hn::Store(hn::LoadU(d, line + part * partBytes), d, square + placeOf<size>(row, part));
    }
}

#else

template <std::size_t size>
HWY_INLINE void transposeSquare(const std::uint8_t* in, std::uint8_t* out) {
    constexpr std::size_t side = lineBytes / size;
    for (std::size_t i = 0; i < side; ++i) {
        for (std::size_t j = 0; j < side; ++j) {
            std::memcpy(out + (i * side + j) * size, in + (j * side + i) * size, size);
        }
    }
}

template <std::size_t size>
HWY_INLINE void keepRow(const std::uint8_t* line, std::size_t row, std::uint8_t* square) {
    std::memcpy(square + row * lineBytes, line, lineBytes);
}

#endif

/// Squares beside each other in the output, which are transposed before those below them: what goes to memory is then
/// longer than a line.
constexpr std::size_t squaresAbreast = 4;
/// How far ahead in the rows of the input lines are asked for.
constexpr std::size_t bytesAhead = 4 * lineBytes;

/// A square, or what there is of it at the ends of the piece.
template <std::size_t size, Stores stores>
HWY_INLINE void transposeAt(const TransposeJob& job, std::size_t x, std::size_t y, std::uint8_t* in,
                            std::uint8_t* out) {
    constexpr std::size_t side = lineBytes / size;
    const std::size_t columns = job.width - x < side ? job.width - x : side;
    const std::size_t rows = job.height - y < side ? job.height - y : side;
    for (std::size_t i = 0; i < columns; ++i) {
        const ConstRawData line = job.from[x + i] + y * size;
        if (rows == side) {
            __builtin_prefetch(line + bytesAhead);
            keepRow<size>(line, i, in);
        } else {
            std::uint8_t part[lineBytes] = {};
            std::memcpy(part, line, rows * size);
            keepRow<size>(part, i, in);
        }
    }
    transposeSquare<size>(in, out);
    if (job.isBinary) {
        access::makeZeroOrOne(job.voxelType, out, rows * side);
    }
    for (std::size_t i = 0; i < rows; ++i) {
        const RawData line = job.to[y + i] + x * size;
        if (columns == side) {
            storeLine<stores>(line, out + i * lineBytes);
        } else {
            std::memcpy(line, out + i * lineBytes, columns * size);
        }
    }
}

template <std::size_t size, Stores stores>
void transposePiece(const TransposeJob& job) {
    constexpr std::size_t side = lineBytes / size;
    constexpr std::size_t abreast = squaresAbreast * side;
    alignas(lineBytes) std::uint8_t in[side * lineBytes];
    alignas(lineBytes) std::uint8_t out[side * lineBytes];
    std::memset(in, 0, sizeof(in));
    for (std::size_t first = 0; first < job.width; first += abreast) {
        const std::size_t end = job.width - first < abreast ? job.width : first + abreast;
        for (std::size_t y = 0; y < job.height; y += side) {
            for (std::size_t x = first; x < end; x += side) {
                transposeAt<size, stores>(job, x, y, in, out);
            }
        }
    }
}

template <Stores stores>
GatherKernels kernelsOf(std::size_t elementSize) {
    switch (elementSize) {
        case 1: return {nullptr, &reverseRow<1, stores>, &transposePiece<1, stores>};
        case 2: return {nullptr, &reverseRow<2, stores>, &transposePiece<2, stores>};
        case 4: return {nullptr, &reverseRow<4, stores>, &transposePiece<4, stores>};
        case 8: return {nullptr, &reverseRow<8, stores>, &transposePiece<8, stores>};
        default: return {nullptr, &reverseRow<16, stores>, &transposePiece<16, stores>};
    }
}

GatherKernels kernels(std::size_t elementSize, Stores stores) {
    return stores == Stores::Streaming ? kernelsOf<Stores::Streaming>(elementSize)
                                       : kernelsOf<Stores::Cached>(elementSize);
}

#undef RIX_GEOMETRY_VECTORS

}  // namespace rix::geometry::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace rix::geometry {

namespace {

using access::Stores;

void copyBytes(RawData to, ConstRawData from, std::size_t bytes) {
    std::memcpy(to, from, bytes);
}

}  // namespace

GatherKernels gatherKernels(std::size_t elementSize, access::Stores stores, OptimLevelType level) {
    GatherKernels chosen = RIX_SELECT_KERNELS(level, kernels(elementSize, stores));
    chosen.copy = stores == Stores::Streaming ? access::streamRow(level) : &copyBytes;
    return chosen;
}

}  // namespace rix::geometry
#endif
