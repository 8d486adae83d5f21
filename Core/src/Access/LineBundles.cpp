#include <rix/access/LineBundles.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>

#include <rix/access/BorderConditions.h>
#include <rix/access/SampleCast.h>
#include <rix/access/StreamKernels.h>
#include <rix/access/WholeImage.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/SampleMemory.h>

#include "Access/BundleAxes.h"
#include "Access/BundleTransposition.h"

namespace rix::access {

namespace {

/// Pieces of rows that are asked for at once, where each is in a page of its own.
constexpr std::size_t piecesAhead = 16;
/// How many rows ahead those are that are read in place, into the second-level cache: in the first one they would
/// compete for few places.
constexpr std::size_t rowsAhead = 32;

constexpr std::size_t Position::* coordinates[] = {&Position::column, &Position::row, &Position::plane,
                                                   &Position::sequence, &Position::spectral};

std::size_t checkedProduct(std::size_t a, std::size_t b) {
    std::size_t product = 0;
    if (!helper::checkedMultiply(a, b, product)) {
        throw MemoryError("Lines of " + std::to_string(a) + " times " + std::to_string(b) + " bytes are too large.");
    }
    return product;
}

std::size_t checkedSum(std::size_t length, const Reach::Axis& reach) {
    std::size_t sum = length;
    for (const std::size_t part : {reach.before, reach.after}) {
        if (__builtin_add_overflow(sum, part, &sum) || sum > std::numeric_limits<std::size_t>::max() / 2) {
            throw MemoryError("A border of " + std::to_string(reach.before) + " elements before and " +
                              std::to_string(reach.after) + " after a line is too large.");
        }
    }
    return sum;
}

Position beginOf(const Block& block) {
    Position position;
    for (std::size_t axis = 0; axis < block.axes.size(); ++axis) {
        position.*coordinates[axis] = block.axes[axis].begin;
    }
    return position;
}

/// Asks for samples that are far apart in memory before they are needed.
template <bool forWriting, int locality = 3, class Work>
void fetch(const Work* samples, std::size_t count) {
    const auto* const bytes = reinterpret_cast<const char*>(samples);
    for (std::size_t i = 0; i < count * sizeof(Work); i += lineBytes) {
        __builtin_prefetch(bytes + i, forWriting ? 1 : 0, locality);
    }
}

/// Whether a result is to go past the caches: it is large, and its rows begin with lines of the cache.
bool streams(const ImageModel& output) {
    const ConstRawData samples = helper::contiguousSamples(output);
    std::size_t voxels = 0;
    const std::size_t bytes = helper::getElementSize(output);
    return helper::getElementCount(output, voxels) && chooseStores(voxels, bytes) == Stores::Streaming &&
           reinterpret_cast<std::uintptr_t>(samples) % lineBytes == 0 &&
           output.getNumOf(COLUMNS) * bytes % lineBytes == 0;
}

/// Copies samples: of few, calls would take longer than the copies.
template <class Work>
inline void copyPiece(const Work* from, Work* to, std::size_t count) {
    constexpr std::size_t group = std::max<std::size_t>(lineBytes / sizeof(Work), 1);
    for (; count >= group; count -= group, from += group, to += group) {
        std::memcpy(static_cast<void*>(to), from, group * sizeof(Work));
    }
    for (std::size_t i = 0; i < count; ++i) {
        to[i] = from[i];
    }
}

/// Pieces of rows that are copied some at a time, when all of them were asked for.
template <class Work>
class PiecesAhead {
public:
    /// Where the next piece waits.
    std::size_t slot() const { return m_waiting; }

    /// @param copied is called with each slot when its piece was copied
    template <bool forWriting, class Copied>
    void add(const Work* from, Work* to, std::size_t count, const Copied& copied) {
        m_pieces[m_waiting++] = {from, to, count};
        fetch<forWriting>(forWriting ? to : from, count);
        if (m_waiting == piecesAhead) {
            copyAll(copied);
        }
    }

    template <class Copied>
    void copyAll(const Copied& copied) {
        for (std::size_t i = 0; i < m_waiting; ++i) {
            std::copy_n(m_pieces[i].from, m_pieces[i].count, m_pieces[i].to);
            copied(i);
        }
        m_waiting = 0;
    }

private:
    struct Piece {
        const Work* from;
        Work* to;
        std::size_t count;
    };

    std::array<Piece, piecesAhead> m_pieces{};
    std::size_t m_waiting = 0;
};

}  // namespace

template <class Work>
Bundle<Work>::Bundle(const ImageModel& input, Components axis, const BundleNeeds& needs, const Block& block)
    : m_needs(needs),
      m_axis(axis),
      m_inner(innerAxis(axis)),
      m_next(nextAxis(axis)),
      m_block(block),
      m_samples(detail::rowLayoutOf(input).samples),
      m_length(block.axes[axis].length()),
      m_before(needs.reach.before),
      m_after(needs.reach.after),
      m_width(block.axes[m_inner].length() * block.axes[m_next].length() * m_samples) {
    // An odd number of cache lines from row to row: the same column of all rows would otherwise compete for few places
    // of the first-level cache.
    const std::size_t rows = checkedSum(m_length, needs.reach);
    const std::size_t lines = (checkedProduct(m_width, sizeof(Work)) + lineBytes - 1) / lineBytes;
    m_paddedWidth = lines * lineBytes / sizeof(Work);
    const std::size_t strideBytes = (lines + (lines % 2 == 0 ? 1 : 0)) * lineBytes;
    m_stride = strideBytes / sizeof(Work);
    m_rows = Scratch(checkedProduct(rows, strideBytes));
    m_first = m_rows.as<Work>() + m_before * m_stride;
}

/// The position of a line, when the axis is the columns.
template <class Work>
RowSegment Bundle<Work>::lineAt(std::size_t line) const {
    RowSegment at{beginOf(m_block), m_length};
    const std::size_t inner = m_block.axes[m_inner].length();
    at.*coordinates[m_inner] += line % inner;
    at.*coordinates[m_next] += line / inner;
    return at;
}

/// Calls `use(segment, samples, count)` for every segment of a row of the images that lies in the bundle, and where in
/// the bundle.
template <class Work>
template <class Use>
void Bundle<Work>::forEachPiece(const Use& use) const {
    const std::size_t count = m_block.columns().length();
    const std::size_t pieces = m_block.axes[m_next].length();
    RowSegment segment{beginOf(m_block), count};
    for (std::size_t i = 0; i < m_length; ++i) {
        segment.*coordinates[m_axis] = m_block.axes[m_axis].begin + i;
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            segment.*coordinates[m_next] = m_block.axes[m_next].begin + piece;
            use(segment, static_cast<std::int64_t>(i), piece * count * m_samples);
        }
    }
}

/// The same where images have their samples in storage order: `use(place, next, piece, count)` with the place of a
/// segment among these and that of one that comes later, where it lies in the bundle, and its samples.
template <class Work>
template <class Use>
void Bundle<Work>::forEachPlace(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& extents, const Use& use) const {
    const std::size_t count = m_block.columns().length() * m_samples;
    std::size_t pitch = m_samples;
    for (int axis = COLUMNS; axis < m_axis; ++axis) {
        pitch *= extents[static_cast<std::size_t>(axis)];
    }
    RowSegment segment{beginOf(m_block), count};
    for (std::size_t piece = 0; piece < m_block.axes[m_next].length(); ++piece) {
        segment.*coordinates[m_next] = m_block.axes[m_next].begin + piece;
        const std::size_t first = detail::offsetOf(segment, extents) * m_samples;
        for (std::size_t i = 0; i < m_length; ++i) {
            use(first + i * pitch, first + std::min(i + rowsAhead, m_length - 1) * pitch,
                row(static_cast<std::int64_t>(i)) + piece * count, count);
        }
    }
}

template <class Work>
void Bundle<Work>::load(const ImageModel& input) {
    if (m_axis == COLUMNS) {
        loadAcross(input);
    } else if (const Work* const samples = samplesInPlace<Work>(input); samples != nullptr) {
        forEachPlace(helper::getExtents(input),
                     [&](std::size_t place, std::size_t next, Work* piece, std::size_t count) {
                         fetch<false, 2>(samples + next, count);
                         copyPiece(samples + place, piece, count);
                     });
    } else {
        RowReader<Work, piecesAhead> reader(input);
        PiecesAhead<Work> pieces;
        const auto copied = [](std::size_t /*slot*/) {};
        forEachPiece([&](const RowSegment& segment, std::int64_t element, std::size_t offset) {
            pieces.template add<false>(reader.read(segment, pieces.slot()), row(element) + offset,
                                       segment.count * m_samples, copied);
        });
        pieces.copyAll(copied);
    }
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(m_length) && m_width < m_paddedWidth; ++i) {
        std::fill(row(i) + m_width, row(i) + m_paddedWidth, Work{});
    }
    extend();
    m_result = 0;
}

template <class Work>
void Bundle<Work>::loadAcross(const ImageModel& input) {
    RowReader<Work, linesAbreast> reader(input);
    const std::size_t lines = m_width / m_samples;
    for (std::size_t first = 0; first < lines; first += linesAbreast) {
        const Work* rows[linesAbreast];
        const std::size_t abreast = std::min(linesAbreast, lines - first);
        for (std::size_t l = 0; l < abreast; ++l) {
            rows[l] = reader.read(lineAt(first + l), l);
        }
        transposeIn(rows, abreast, m_samples, m_length, row(0) + first * m_samples, m_stride);
    }
}

/// Fills the rows before and after the lines.
template <class Work>
void Bundle<Work>::extend() {
    const auto length = static_cast<std::int64_t>(m_length);
    const auto fill = [&](std::int64_t element) {
        const std::int64_t source = borderSource(m_needs.border, element, length);
        if (source < 0) {
            std::fill_n(row(element), m_paddedWidth, castSample<Work>(m_needs.borderValue));
        } else {
            std::copy_n(row(source), m_paddedWidth, row(element));
        }
    };
    for (std::int64_t i = 1; i <= static_cast<std::int64_t>(m_before); ++i) {
        fill(-i);
    }
    for (std::int64_t i = 0; i < static_cast<std::int64_t>(m_after); ++i) {
        fill(length + i);
    }
}

template <class Work>
void Bundle<Work>::store(ImageModel& output) {
    RIX_ASSERT(m_result >= -static_cast<std::int64_t>(m_before) && m_result <= static_cast<std::int64_t>(m_after));
    if (m_axis == COLUMNS) {
        storeAcross(output);
        return;
    }
    if (Work* const samples = samplesInPlace<Work>(output); samples != nullptr) {
        const StreamRow stream = streams(output) ? streamRow(SCALAR) : nullptr;
        forEachPlace(
            helper::getExtents(output), [&](std::size_t place, std::size_t next, Work* piece, std::size_t count) {
                if (stream != nullptr) {
                    stream(reinterpret_cast<RawData>(samples + place),
                           reinterpret_cast<ConstRawData>(piece + m_result * static_cast<std::int64_t>(m_stride)),
                           count * sizeof(Work));
                    return;
                }
                fetch<true, 2>(samples + next, count);
                copyPiece(piece + m_result * static_cast<std::int64_t>(m_stride), samples + place, count);
            });
        if (stream != nullptr) {
            finishStreaming();
        }
        return;
    }
    RowWriter<Work, piecesAhead> writer(output);
    PiecesAhead<Work> pieces;
    const auto copied = [&](std::size_t slot) { writer.flush(slot); };
    forEachPiece([&](const RowSegment& segment, std::int64_t element, std::size_t offset) {
        pieces.template add<true>(row(element + m_result) + offset, writer.open(segment, pieces.slot()),
                                  segment.count * m_samples, copied);
    });
    pieces.copyAll(copied);
}

template <class Work>
void Bundle<Work>::storeAcross(ImageModel& output) {
    RowWriter<Work, linesAbreast> writer(output);
    const bool streamed = samplesInPlace<Work>(output) != nullptr && streams(output);
    const std::size_t lines = m_width / m_samples;
    for (std::size_t first = 0; first < lines; first += linesAbreast) {
        Work* rows[linesAbreast];
        const std::size_t abreast = std::min(linesAbreast, lines - first);
        for (std::size_t l = 0; l < abreast; ++l) {
            rows[l] = writer.open(lineAt(first + l), l);
        }
        if (streamed && abreast == linesAbreast && m_samples == 1) {
            streamOut(row(m_result) + first, m_stride, m_length, rows);
        } else {
            transposeOut(row(m_result) + first * m_samples, m_stride, abreast, m_samples, m_length, rows);
        }
        for (std::size_t l = 0; l < abreast; ++l) {
            writer.flush(l);
        }
    }
    if (streamed) {
        finishStreaming();
    }
}

template class Bundle<std::uint8_t>;
template class Bundle<std::uint16_t>;
template class Bundle<std::uint32_t>;
template class Bundle<std::int8_t>;
template class Bundle<std::int16_t>;
template class Bundle<std::int32_t>;
template class Bundle<float>;
template class Bundle<double>;
template class Bundle<std::complex<float>>;
template class Bundle<std::complex<double>>;

}  // namespace rix::access
