#include "SquareMedianSelection.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include <rix/access/BorderConditions.h>
#include <rix/access/Pieces.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/StreamKernels.h>

#include "SquareMedianKernels.h"

namespace rix::filtering::rank {

namespace {

constexpr std::size_t mostRadius = 2;
constexpr std::size_t mostSide = 2 * mostRadius + 1;
/// Rows whose ends are computed at a time.
constexpr std::size_t bandRows = 256;

access::Plan cutForSquares(const ImageModel& input, const RankJob& job, std::size_t sampleBytes) {
    return access::cutBoxes({&input}, {}, {job.window.reach(), job.window.columns == 3 ? 0.2 : 1.0, sampleBytes});
}

/// What lies at the ends of rows is computed across them: there columns of the image are the rows of the kernel.
template <class T>
struct EndLines {
    static constexpr std::size_t least = SquareMedian<T>::leastCount;
    static constexpr std::size_t length = bandRows + 2 * mostRadius + least;
    /// Columns of results: those of blocks that are too narrow for anything else, or one end.
    static constexpr std::size_t mostColumns = least + 2 * mostRadius;
    static constexpr std::size_t lines = mostColumns + 2 * mostRadius;

    /// In samples, the results behind the lines.
    static constexpr std::size_t samples = (lines + 2 * mostColumns) * length;
};

/// What has a kernel.
template <class T>
inline constexpr bool isKeyed = std::is_same_v<T, float>;
template <class T>
inline constexpr bool hasKernel = std::is_integral_v<T> || isKeyed<T>;

template <class T>
class SquareMedianBlock {
public:
    using Key = typename SquareMedian<T>::Key;

    SquareMedianBlock(const ImageModel& input, ImageModel& output, const RankJob& job, const access::Plan& plan,
                      const access::Block& block, typename SquareMedian<T>::Row kernel, FloatKeys toKeys)
        : m_block(block),
          m_job(job),
          m_columns(input.getNumOf(COLUMNS)),
          m_rows(input.getNumOf(ROWS)),
          m_radius(job.window.columns / 2),
          m_kernel(kernel),
          m_toKeys(toKeys),
          m_input(input),
          m_ends(input),
          m_writer(output, plan),
          m_lines(SquareMedian<T>::lineSamples * sizeof(T)),
          m_endLines(EndLines<T>::samples * sizeof(T)) {
        const std::size_t width = block.columns().length();
        m_hasMiddle = width >= 2 * m_radius + EndLines<T>::least;
        m_endColumns = m_hasMiddle ? m_radius : width;
        if (job.border == access::BorderPolicy::FIXED) {
            const auto border = access::borderOf<T>(job.border, job.borderValue);
            T outside{};
            border->getData(input, &outside, &outside + 1, -1, 0, 0, 0, 0);
            m_outside = key(outside);
            m_outsideRow = access::Scratch((width + 2 * m_radius) * sizeof(T));
            std::fill_n(m_outsideRow.template as<Key>(), width + 2 * m_radius, m_outside);
        }
        if constexpr (isKeyed<T>) {
            m_keys = access::Scratch(job.window.rows * width * sizeof(T));
        }
    }

    void run() {
        const access::Interval& rows = m_block.rows();
        for (std::size_t plane = m_block.planes().begin; plane < m_block.planes().end; ++plane) {
            for (std::size_t row = rows.begin; row < rows.end; row += bandRows) {
                runBand(row, std::min(row + bandRows, rows.end), plane);
            }
        }
    }

private:
    static Key key(T sample) {
        if constexpr (isKeyed<T>) {
            return keyOf(sample);
        } else {
            return sample;
        }
    }

    T* resultsOf(std::size_t column, bool right) const {
        const std::size_t lines = EndLines<T>::lines + column + (right ? EndLines<T>::mostColumns : 0);
        return m_endLines.template as<T>() + lines * EndLines<T>::length;
    }

    /// Where the border finds a coordinate, or -1 for a value of its own.
    std::int64_t inside(std::size_t coordinate, std::size_t before, std::size_t extent) const {
        return access::borderSource(m_job.border,
                                    static_cast<std::int64_t>(coordinate) - static_cast<std::int64_t>(before),
                                    static_cast<std::int64_t>(extent));
    }

    access::RowSegment segment(std::size_t column, std::size_t row, std::size_t plane, std::size_t count) const {
        return {{column, row, plane, m_block.sequence(), m_block.spectral()}, count};
    }

    /// The keys of a row of the block; those of integers are in the image.
    const Key* keysOf(std::size_t row, std::size_t plane, std::size_t slot) {
        const std::size_t width = m_block.columns().length();
        const T* const samples = m_input.read(segment(m_block.columns().begin, row, plane, width), slot);
        if constexpr (isKeyed<T>) {
            Key* const keys = m_keys.template as<Key>() + slot * width;
            m_toKeys(samples, keys, width);
            return keys;
        } else {
            return samples;
        }
    }

    void runBand(std::size_t begin, std::size_t end, std::size_t plane) {
        const access::Interval& columns = m_block.columns();
        runEnd(columns.begin, begin, end, plane, false);
        if (m_hasMiddle) {
            runEnd(columns.end - m_radius, begin, end, plane, true);
        }
        const std::size_t side = m_job.window.rows;
        const Key* held[mostSide] = {};
        const Key* rows[mostSide] = {};
        const auto load = [&](std::size_t index) {
            const std::int64_t row = inside(index, m_radius, m_rows);
            const std::size_t slot = index % side;
            held[slot] = row < 0 ? m_outsideRow.template as<Key>() : keysOf(static_cast<std::size_t>(row), plane, slot);
        };
        for (std::size_t index = begin; m_hasMiddle && index < begin + side - 1; ++index) {
            load(index);
        }
        for (std::size_t row = begin; row < end; ++row) {
            T* const out = m_writer.open(segment(columns.begin, row, plane, columns.length()));
            for (std::size_t c = 0; c < m_endColumns; ++c) {
                out[c] = resultsOf(c, false)[row - begin];
            }
            if (m_hasMiddle) {
                load(row + side - 1);
                for (std::size_t i = 0; i < side; ++i) {
                    rows[i] = held[(row + i) % side];
                }
                const std::size_t count = columns.length() - 2 * m_radius;
                m_kernel(rows, m_lines.template as<Key>(), out + m_radius, count);
                for (std::size_t c = 0; c < m_radius; ++c) {
                    out[m_radius + count + c] = resultsOf(c, true)[row - begin];
                }
            }
            m_writer.flush();
        }
    }

    /// @param first of the columns
    void runEnd(std::size_t first, std::size_t begin, std::size_t end, std::size_t plane, bool right) {
        constexpr std::size_t length = EndLines<T>::length;
        Key* const lines = m_endLines.template as<Key>();
        const std::size_t lineCount = m_endColumns + 2 * m_radius;
        std::int64_t from[EndLines<T>::lines];
        for (std::size_t i = 0; i < lineCount; ++i) {
            from[i] = inside(first + i, m_radius, m_columns);
        }
        const auto [lowest, highest] = std::minmax_element(from, from + lineCount);
        const std::int64_t start = std::max<std::int64_t>(*lowest, 0);
        const auto count = static_cast<std::size_t>(*highest - start + 1);
        const std::size_t rows = end - begin;
        for (std::size_t y = 0; y < rows + 2 * m_radius; ++y) {
            const std::int64_t row = inside(begin + y, m_radius, m_rows);
            const T* const samples = row < 0 ? nullptr
                                             : m_ends.read(segment(static_cast<std::size_t>(start),
                                                                   static_cast<std::size_t>(row), plane, count));
            for (std::size_t i = 0; i < lineCount; ++i) {
                lines[i * length + y] = samples == nullptr || from[i] < 0 ? m_outside : key(samples[from[i] - start]);
            }
        }
        const std::size_t windows = std::max(rows, EndLines<T>::least);
        for (std::size_t i = 0; i < lineCount; ++i) {
            std::fill(lines + i * length + rows + 2 * m_radius, lines + i * length + windows + 2 * m_radius, Key{0});
        }
        for (std::size_t c = 0; c < m_endColumns; ++c) {
            const Key* around[mostSide] = {};
            for (std::size_t i = 0; i < m_job.window.columns; ++i) {
                around[i] = lines + (c + i) * length;
            }
            m_kernel(around, m_lines.template as<Key>(), resultsOf(c, right), windows);
        }
    }

    const access::Block& m_block;
    const RankJob& m_job;
    std::size_t m_columns;
    std::size_t m_rows;
    std::size_t m_radius;
    typename SquareMedian<T>::Row m_kernel;
    FloatKeys m_toKeys;
    access::RowReader<T, mostSide> m_input;
    access::RowReader<T> m_ends;
    access::RowWriter<T> m_writer;
    access::Scratch m_lines;
    access::Scratch m_endLines;
    access::Scratch m_outsideRow;
    access::Scratch m_keys;
    bool m_hasMiddle = false;
    std::size_t m_endColumns = 0;
    Key m_outside{};
};

}  // namespace

template <class T>
bool isSquareMedian(const RankJob& job) {
    const RankWindow& window = job.window;
    return hasKernel<T> && job.mask == nullptr && !window.isRound && window.planes == 1 &&
           window.columns == window.rows && (window.columns == 3 || window.columns == 5) &&
           indexOfRank(job.rank, window.voxels()) == window.voxels() / 2;
}

template <class T>
void selectSquareMedian(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                        const RankJob& job, OptimLevelType level) {
    if constexpr (hasKernel<T>) {
        const access::Plan plan = cutForSquares(input, job, sizeof(T));
        const access::Stores stores = access::storesFor(output);
        const auto kernel = squareMedianRow<T>(job.window.rows, stores, level);
        const FloatKeys toKeys = floatKeys(level);
        access::run(context, plan, [&](const access::Block& block) {
            SquareMedianBlock<T>(input, output, job, plan, block, kernel, toKeys).run();
            if (stores == access::Stores::Streaming) {
                access::finishStreaming();
            }
        });
    }
}

template <class T>
std::size_t squareMedianBytes(const ImageModel& input, const RankJob& job, std::size_t threads) {
    std::size_t bytes = 0;
    if constexpr (hasKernel<T>) {
        using access::Scratch;
        const access::Plan plan = cutForSquares(input, job, sizeof(T));
        const std::size_t row = Scratch::held((plan.largestPart(COLUMNS) + 2 * mostRadius) * sizeof(T));
        // Rows that have to be copied or converted, for each place of the window.
        const std::size_t rows = input.getInterpretation() == RIX_BINARY ? job.window.rows + 2 : 2;
        bytes =
            (Scratch::held(SquareMedian<T>::lineSamples * sizeof(T)) + Scratch::held(EndLines<T>::samples * sizeof(T)) +
             rows * row + (isKeyed<T> ? Scratch::held(job.window.rows * plan.largestPart(COLUMNS) * sizeof(T)) : 0)) *
            (plan.isSmall() ? 1 : std::min(threads, plan.blockCount()));
    }
    return bytes;
}

#define RIX_INSTANTIATE(T)                                                                                         \
    template bool isSquareMedian<T>(const RankJob&);                                                               \
    template void selectSquareMedian<T>(access::ExecutionContext&, const ImageModel&, ImageModel&, const RankJob&, \
                                        OptimLevelType);                                                           \
    template std::size_t squareMedianBytes<T>(const ImageModel&, const RankJob&, std::size_t);
RIX_INSTANTIATE(std::uint8_t)
RIX_INSTANTIATE(std::uint16_t)
RIX_INSTANTIATE(std::uint32_t)
RIX_INSTANTIATE(std::int8_t)
RIX_INSTANTIATE(std::int16_t)
RIX_INSTANTIATE(std::int32_t)
RIX_INSTANTIATE(float)
RIX_INSTANTIATE(double)
#undef RIX_INSTANTIATE

}  // namespace rix::filtering::rank
