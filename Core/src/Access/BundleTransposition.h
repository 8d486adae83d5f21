#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <rix/access/StreamKernels.h>
#include <rix/image/ImageTypes.h>

// Between the rows of an image and those of a bundle of lines along the columns.

namespace rix::access {

/// Lines that are transposed together: a row of the bundle gets a whole line of the cache of most types at a time.
inline constexpr std::size_t linesAbreast = 16;
/// Elements of each of them that are taken at once: a line of the cache of most types. The lines of an image whose rows
/// are a power of two apart fall into the same few places of the first-level cache, where none would wait for its next
/// element.
inline constexpr std::size_t elementsAbreast = 16;
/// How many elements ahead lines are asked for that are transposed.
inline constexpr std::size_t transposedAhead = 64;
/// Whether squares of 16 bytes of a type are transposed in registers.
template <class Work>
inline constexpr bool hasSquares = sizeof(Work) == 4 || sizeof(Work) == 8;

/// Transposes a square of 16 bytes in each direction: row i of it begins at from(i) and goes to to(i).
template <std::size_t size, class From, class To>
inline void transposeSquare(const From& from, const To& to) {
    if constexpr (size == 4) {
        using Four = std::uint32_t __attribute__((vector_size(16)));
        Four rows[4];
        for (std::size_t i = 0; i < 4; ++i) {
            std::memcpy(&rows[i], from(i), sizeof(Four));
        }
        const Four low01 = __builtin_shufflevector(rows[0], rows[1], 0, 4, 1, 5);
        const Four low23 = __builtin_shufflevector(rows[2], rows[3], 0, 4, 1, 5);
        const Four high01 = __builtin_shufflevector(rows[0], rows[1], 2, 6, 3, 7);
        const Four high23 = __builtin_shufflevector(rows[2], rows[3], 2, 6, 3, 7);
        const Four turned[4] = {
            __builtin_shufflevector(low01, low23, 0, 1, 4, 5), __builtin_shufflevector(low01, low23, 2, 3, 6, 7),
            __builtin_shufflevector(high01, high23, 0, 1, 4, 5), __builtin_shufflevector(high01, high23, 2, 3, 6, 7)};
        for (std::size_t i = 0; i < 4; ++i) {
            std::memcpy(static_cast<void*>(to(i)), &turned[i], sizeof(Four));
        }
    } else {
        using Two = std::uint64_t __attribute__((vector_size(16)));
        Two rows[2];
        std::memcpy(&rows[0], from(0), sizeof(Two));
        std::memcpy(&rows[1], from(1), sizeof(Two));
        const Two turned[2] = {__builtin_shufflevector(rows[0], rows[1], 0, 2),
                               __builtin_shufflevector(rows[0], rows[1], 1, 3)};
        std::memcpy(static_cast<void*>(to(0)), &turned[0], sizeof(Two));
        std::memcpy(static_cast<void*>(to(1)), &turned[1], sizeof(Two));
    }
}

/// Between `elementsAbreast` elements of `linesAbreast` lines and as many rows of a bundle: from(i) and to(i) are
/// where these begin.
template <class Work, class From, class To>
inline void transposeTile(const From& from, const To& to) {
    constexpr std::size_t side = 16 / sizeof(Work);
    for (std::size_t l = 0; l < linesAbreast; l += side) {
        for (std::size_t k = 0; k < elementsAbreast; k += side) {
            transposeSquare<sizeof(Work)>([&](std::size_t i) { return from(l + i) + k; },
                                          [&](std::size_t i) { return to(k + i) + l; });
        }
    }
}

/// to[i * stride + l * samples + s] = from[l][i * samples + s], for `count` elements of `lines` lines.
template <class Work>
void transposeIn(const Work* const* from, std::size_t lines, std::size_t samples, std::size_t count, Work* to,
                 std::size_t stride) {
    if (lines == linesAbreast && samples == 1) {
        for (std::size_t i = 0; i < count; i += elementsAbreast) {
            const std::size_t elements = std::min(elementsAbreast, count - i);
            if constexpr (hasSquares<Work>) {
                if (elements == elementsAbreast) {
                    // Behind the end of these lines are those that come next, where an image has them in its memory.
                    const std::size_t next = i + transposedAhead;
                    for (std::size_t l = 0; l < linesAbreast; ++l) {
                        __builtin_prefetch(from[l] + (next < count ? next : next + (linesAbreast - 1) * count));
                    }
                    transposeTile<Work>([&](std::size_t l) { return from[l] + i; },
                                        [&](std::size_t k) { return to + (i + k) * stride; });
                    continue;
                }
            }
            for (std::size_t l = 0; l < linesAbreast; ++l) {
                for (std::size_t k = 0; k < elements; ++k) {
                    to[(i + k) * stride + l] = from[l][i + k];
                }
            }
        }
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t l = 0; l < lines; ++l) {
            std::copy_n(from[l] + i * samples, samples, to + i * stride + l * samples);
        }
    }
}

template <class Work>
void transposeOut(const Work* from, std::size_t stride, std::size_t lines, std::size_t samples, std::size_t count,
                  Work* const* to) {
    if (lines == linesAbreast && samples == 1) {
        for (std::size_t i = 0; i < count; i += elementsAbreast) {
            const std::size_t elements = std::min(elementsAbreast, count - i);
            if constexpr (hasSquares<Work>) {
                if (elements == elementsAbreast) {
                    transposeTile<Work>([&](std::size_t k) { return from + (i + k) * stride; },
                                        [&](std::size_t l) { return to[l] + i; });
                    continue;
                }
            }
            for (std::size_t l = 0; l < linesAbreast; ++l) {
                for (std::size_t k = 0; k < elements; ++k) {
                    to[l][i + k] = from[(i + k) * stride + l];
                }
            }
        }
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t l = 0; l < lines; ++l) {
            std::copy_n(from + i * stride + l * samples, samples, to[l] + i * samples);
        }
    }
}

/// Elements of a line that are transposed before they go past the caches.
inline constexpr std::size_t elementsStreamed = 64;

/// The same past the caches.
template <class Work>
void streamOut(const Work* from, std::size_t stride, std::size_t count, Work* const* to) {
    alignas(lineBytes) Work tile[linesAbreast][elementsStreamed];
    const StreamRow stream = streamRow(SCALAR);
    for (std::size_t i = 0; i < count; i += elementsStreamed) {
        const std::size_t elements = std::min(elementsStreamed, count - i);
        Work* lines[linesAbreast];
        for (std::size_t l = 0; l < linesAbreast; ++l) {
            lines[l] = tile[l];
        }
        transposeOut(from + i * stride, stride, linesAbreast, 1, elements, lines);
        for (std::size_t l = 0; l < linesAbreast; ++l) {
            stream(reinterpret_cast<RawData>(to[l] + i), reinterpret_cast<ConstRawData>(tile[l]),
                   elements * sizeof(Work));
        }
    }
}

}  // namespace rix::access
