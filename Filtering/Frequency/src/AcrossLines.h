#pragma once

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <rix/access/Rows.h>
#include <rix/access/Scratch.h>
#include <rix/access/WholeImage.h>
#include <rix/image/SampleMemory.h>

#include "FourierPasses.h"

namespace rix::filtering::frequency {

inline constexpr std::size_t cacheLine = 64;
/// Lines that are gathered together: two lines of the cache of each row.
inline constexpr std::size_t linesAbreast = 16;
/// Rows that are gathered together, so that each line gets a line of the cache at a time.
inline constexpr std::size_t rowsAbreast = 8;

/// target(column)[row] = source(row)[column]. Elements of eight bytes are moved two by two in vectors that every
/// processor has.
template <class T, class Source, class Target>
void transpose(std::size_t rows, std::size_t columns, const Source& source, const Target& target) {
    using Two = std::uint64_t __attribute__((vector_size(16)));
    const std::size_t even = sizeof(T) == sizeof(std::uint64_t) && rows % 2 == 0 ? columns & ~std::size_t{1} : 0;
    for (std::size_t column = 0; column < even; column += 2) {
        for (std::size_t row = 0; row < rows; row += 2) {
            Two first;
            Two second;
            std::memcpy(&first, source(row) + column, sizeof first);
            std::memcpy(&second, source(row + 1) + column, sizeof second);
            const Two left = __builtin_shufflevector(first, second, 0, 2);
            const Two right = __builtin_shufflevector(first, second, 1, 3);
            std::memcpy(static_cast<void*>(target(column) + row), &left, sizeof left);
            std::memcpy(static_cast<void*>(target(column + 1) + row), &right, sizeof right);
        }
    }
    for (std::size_t column = even; column < columns; ++column) {
        for (std::size_t row = 0; row < rows; ++row) {
            target(column)[row] = source(row)[column];
        }
    }
}

/// to[l][i] = from[i][l] for some rows. The usual number is a constant to the compiler.
template <class T>
void gather(const T* const* from, std::size_t rows, std::size_t lines, T* to, std::size_t pitch) {
    const auto source = [=](std::size_t row) { return from[row]; };
    const auto target = [=](std::size_t line) { return to + line * pitch; };
    if (rows == rowsAbreast) {
        transpose<T>(rowsAbreast, lines, source, target);
    } else {
        transpose<T>(rows, lines, source, target);
    }
}

template <class T>
void scatter(const T* from, std::size_t pitch, std::size_t rows, std::size_t lines, T* const* to) {
    const auto source = [=](std::size_t line) { return from + line * pitch; };
    const auto target = [=](std::size_t row) { return to[row]; };
    if (lines == linesAbreast) {
        transpose<T>(linesAbreast, rows, source, target);
    } else {
        transpose<T>(lines, rows, source, target);
    }
}

/// Lines of an axis other than the columns, some neighbours at a time.
template <class Real>
class AcrossLines {
public:
    using Complex = std::complex<Real>;

    /// Rows that are used and rows that are on their way into the cache: no two neighbours of a line are in one page,
    /// so the processor does not see them coming.
    static constexpr std::size_t slots = 2 * rowsAbreast;
    /// The most that rows hold on their way from one type to another or through images without addresses.
    static constexpr std::size_t slotBytes =
        4 * slots * access::Scratch::held(linesAbreast * sizeof(std::complex<double>));

    AcrossLines(const ImageModel& input, ImageModel& output, const LineTransform<Real>& transform,
                const AxisTransform& how)
        : m_axis(how.axis),
          m_extents(helper::getExtents(input)),
          m_length(input.getNumOf(how.axis)),
          m_pitch(pitchOf(m_length)),
          m_readFrom(how.backward ? middleOf(how, m_length) : 0),
          m_writeTo(how.backward ? 0 : middleOf(how, m_length)),
          m_transform(transform),
          m_reader(input),
          m_writer(output),
          m_lines(linesAbreast * m_pitch * sizeof(Complex)) {
        if (!access::needsCopy(input, access::voxelTypeOf<Complex>)) {
            m_inputSamples = reinterpret_cast<const Complex*>(helper::contiguousSamples(input));
        }
        if (!access::needsCopy(output, access::voxelTypeOf<Complex>)) {
            m_outputSamples = reinterpret_cast<Complex*>(helper::contiguousSamples(output));
        }
    }

    /// Elements from a line to the next: an odd number of lines of the cache, as the same element of all lines would
    /// otherwise compete for few places of the first-level cache.
    static std::size_t pitchOf(std::size_t length) {
        constexpr std::size_t group = cacheLine / sizeof(Complex);
        const std::size_t groups = length / group + 1;
        return (groups + (groups % 2 == 0 ? 1 : 0)) * group;
    }

    /// @param at the first element of the first line; as many lines as `count`, at most `linesAbreast`
    void operator()(const access::RowSegment& at) {
        auto* const lines = m_lines.template as<Complex>();
        std::array<const Complex*, slots> from{};
        forEachGroup(
            [&](std::size_t element) {
                const access::RowSegment row = segmentOf(at, element, m_readFrom);
                from[element % slots] =
                    m_inputSamples == nullptr ? m_reader.read(row, element % slots) : m_inputSamples + offsetOf(row);
                fetch<0>(from[element % slots], at.count);
            },
            [&](std::size_t first, std::size_t rows) {
                gather(&from[first % slots], rows, at.count, lines + first, m_pitch);
            });
        for (std::size_t l = 0; l < at.count; ++l) {
            m_transform.inPlace(lines + l * m_pitch);
        }
        std::array<Complex*, slots> to{};
        forEachGroup(
            [&](std::size_t element) {
                const access::RowSegment row = segmentOf(at, element, m_writeTo);
                to[element % slots] =
                    m_outputSamples == nullptr ? m_writer.open(row, element % slots) : m_outputSamples + offsetOf(row);
                fetch<1>(to[element % slots], at.count);
            },
            [&](std::size_t first, std::size_t rows) {
                scatter(lines + first, m_pitch, rows, at.count, &to[first % slots]);
                for (std::size_t i = 0; i < rows && m_outputSamples == nullptr; ++i) {
                    m_writer.flush((first + i) % slots);
                }
            });
    }

private:
    template <int forWriting>
    static void fetch(const Complex* row, std::size_t count) {
        const auto* const bytes = reinterpret_cast<const char*>(row);
        const std::size_t size = count * sizeof(Complex);
        for (std::size_t i = 0; i < size; i += cacheLine) {
            __builtin_prefetch(bytes + i, forWriting);
        }
        __builtin_prefetch(bytes + size - 1, forWriting);
    }

    access::RowSegment segmentOf(const access::RowSegment& at, std::size_t element, std::size_t middle) const {
        access::RowSegment segment = at;
        const std::size_t index = element + middle < m_length ? element + middle : element + middle - m_length;
        (m_axis == ROWS ? segment.row : segment.plane) = index;
        return segment;
    }

    /// Calls `open(element)` for all elements of a group before `use(first, rows)` for the group before it.
    template <class Open, class Use>
    void forEachGroup(const Open& open, const Use& use) const {
        const auto rowsFrom = [&](std::size_t first) { return std::min(rowsAbreast, m_length - first); };
        const auto openGroup = [&](std::size_t first) {
            for (std::size_t i = 0; first < m_length && i < rowsFrom(first); ++i) {
                open(first + i);
            }
        };
        openGroup(0);
        for (std::size_t first = 0; first < m_length; first += rowsAbreast) {
            openGroup(first + rowsAbreast);
            use(first, rowsFrom(first));
        }
    }

    std::size_t offsetOf(const access::RowSegment& at) const { return access::detail::offsetOf(at, m_extents); }

    Components m_axis;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> m_extents;
    std::size_t m_length;
    std::size_t m_pitch;
    std::size_t m_readFrom;
    std::size_t m_writeTo;
    const LineTransform<Real>& m_transform;
    access::RowReader<Complex, slots> m_reader;
    access::RowWriter<Complex, slots> m_writer;
    access::Scratch m_lines;
    /// In place of reader and writer, where all elements are side by side: for short pieces of rows these cost more
    /// than the transform.
    const Complex* m_inputSamples = nullptr;
    Complex* m_outputSamples = nullptr;
};

}  // namespace rix::filtering::frequency
