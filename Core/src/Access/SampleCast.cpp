#include <rix/access/SampleCast.h>

#include <algorithm>
#include <array>
#include <cstring>

#include <rix/exceptions/Exception.h>

#include "Access/CastKernels.h"

namespace rix::access {

namespace {

/// @throws InvalidCall for a code that is no voxel type
std::size_t codeOf(VoxelTypes type) {
    if (helper::getSizeOf(type) == 0) {
        throw InvalidCall("No implementation for the data type " + helper::voxelTypesToString(type) + ".");
    }
    return static_cast<std::size_t>(type);
}

}  // namespace

void castSamples(VoxelTypes fromType, ConstRawData from, VoxelTypes toType, RawData to, std::size_t count) {
    (*castKernels().casts)[codeOf(fromType)][codeOf(toType)](from, to, count);
}

void castSamplesToBinary(VoxelTypes fromType, ConstRawData from, VoxelTypes toType, RawData to, std::size_t count) {
    const CastKernel compare = (*castKernels().toBinary)[codeOf(fromType)];
    const CastKernel widen = (*castKernels().casts)[RIX_UINT8][codeOf(toType)];
    if (helper::getSizeOf(toType) == 1) {
        compare(from, to, count);
        return;
    }
    std::array<std::uint8_t, 4096> bytes;
    const std::size_t fromSize = helper::getSizeOf(fromType);
    const std::size_t toSize = helper::getSizeOf(toType);
    while (count > 0) {
        const std::size_t now = std::min(count, bytes.size());
        compare(from, bytes.data(), now);
        widen(bytes.data(), to, now);
        from += now * fromSize;
        to += now * toSize;
        count -= now;
    }
}

void makeZeroOrOne(VoxelTypes type, RawData samples, std::size_t count) {
    alignas(64) std::array<std::uint8_t, 4096> piece;
    alignas(64) std::array<std::uint8_t, 4096> result;
    const std::size_t size = helper::getSizeOf(type);
    const std::size_t step = size == 0 ? 0 : piece.size() / size;
    for (std::size_t done = 0; done < count; done += step) {
        const std::size_t now = std::min(step, count - done);
        std::memcpy(piece.data(), samples + done * size, now * size);
        castSamplesToBinary(type, piece.data(), type, result.data(), now);
        std::memcpy(samples + done * size, result.data(), now * size);
    }
}

}  // namespace rix::access
