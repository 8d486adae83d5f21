#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <rix/access/SampleCast.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModel.h>
#include <rix/image/RowRefusals.h>

namespace rix::io {

/// Calls `action` with an object of the size of a sample: moving samples needs their size only, and a size known to
/// the compiler makes the copy one instruction.
template <class Action>
void withSampleSize(std::size_t size, Action&& action) {
    switch (size) {
        case 1: return action(std::array<std::uint8_t, 1>{});
        case 2: return action(std::array<std::uint8_t, 2>{});
        case 4: return action(std::array<std::uint8_t, 4>{});
        case 8: return action(std::array<std::uint8_t, 8>{});
        case 16: return action(std::array<std::uint8_t, 16>{});
        default: throw UnexpectedError("No voxel type has samples of " + std::to_string(size) + " bytes.");
    }
}

/// Copies `count` samples of `size` bytes; `fromStep` and `toStep` are the distances of neighbours in samples.
inline void copySamples(const std::uint8_t* from, std::size_t fromStep, std::uint8_t* to, std::size_t toStep,
                        std::size_t count, std::size_t size) {
    withSampleSize(size, [&](auto sample) {
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(&sample, from + i * fromStep * sizeof(sample), sizeof(sample));
            std::memcpy(to + i * toStep * sizeof(sample), &sample, sizeof(sample));
        }
    });
}

/// Reverses the order of samples in place.
inline void reverseSamples(std::uint8_t* row, std::size_t count, std::size_t size) {
    withSampleSize(size, [&](auto sample) {
        using Sample = decltype(sample);
        auto* first = reinterpret_cast<Sample*>(row);
        std::reverse(first, first + count);
    });
}

/// Copies a part of a row out of an image; of a binary one as 0 and 1.
/// @throws WritingError when the image refuses it.
inline void readRow(const ImageModel& image, std::uint8_t* buffer, std::size_t count, std::size_t column,
                    std::size_t row, std::size_t plane, std::size_t sequence, std::size_t spectral) {
    if (!image.readRowAt(count, buffer, column, row, plane, sequence, spectral)) {
        throw WritingError("The image does not give its row " + std::to_string(row) + " (plane " +
                           std::to_string(plane) + ", sequence " + std::to_string(sequence) + ", spectral series " +
                           std::to_string(spectral) + "). " + helper::takeRowRefusal());
    }
    if (image.getInterpretation() == RIX_BINARY) {
        access::makeZeroOrOne(image.getVoxelType(), buffer, count);
    }
}

/// The address of a row inside an image that was just reserved in memory.
inline std::uint8_t* rowAddress(ImageModel& image, std::size_t count, std::size_t column, std::size_t row,
                                std::size_t plane, std::size_t sequence, std::size_t spectral) {
    RawData address = nullptr;
    if (!image.getRowAt(count, address, column, row, plane, sequence, spectral)) {
        throw UnexpectedError("A memory image does not give the address of one of its rows.");
    }
    return address;
}

}  // namespace rix::io
