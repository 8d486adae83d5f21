#include "RankSelection.h"

#include <algorithm>
#include <limits>

#include <rix/access/Looks.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/VoxelTypeLists.h>

#include "ChordHistogram.h"
#include "HistogramKernels.h"
#include "NetworkSelection.h"
#include "RankTile.h"
#include "ResolveKernels.h"
#include "SquareMedianSelection.h"

namespace rix::filtering::rank {

namespace {

using access::Buffer;

/// Whether the counts of a window need 32 bits.
bool needsWideCounts(const RankWindow& window) {
    return window.boxVoxels() > static_cast<std::size_t>(std::numeric_limits<std::int16_t>::max());
}

/// Chords of a disc or ball, from the first voxel of their box on.
class Chords {
public:
    Chords(const RankWindow& window, std::ptrdiff_t rowOffset, std::ptrdiff_t planeOffset) {
        const std::size_t most = window.rows * window.planes;
        m_offsets.reserve(2 * most);
        m_table = {0, m_offsets.data(), m_offsets.data() + most};
        for (std::size_t plane = 0; plane < window.planes; ++plane) {
            for (std::size_t row = 0; row < window.rows; ++row) {
                const std::int64_t half = window.halfChord(row, plane);
                if (half < 0) {
                    continue;
                }
                const std::ptrdiff_t middle = static_cast<std::ptrdiff_t>(window.radius) +
                                              static_cast<std::ptrdiff_t>(row) * rowOffset +
                                              static_cast<std::ptrdiff_t>(plane) * planeOffset;
                m_offsets.data()[m_table.count] = middle - half;
                m_offsets.data()[most + m_table.count] = middle + half + 1;
                ++m_table.count;
            }
        }
    }
    const ChordTable& table() const { return m_table; }

    static std::size_t bytes(const RankWindow& window) {
        return 2 * window.rows * window.planes * sizeof(std::ptrdiff_t);
    }

private:
    Buffer<std::ptrdiff_t> m_offsets;
    ChordTable m_table;
};

/// Of one tile, row by row.
template <class T>
class TileRows {
public:
    TileRows(const ImageModel& input, const RankJob& job, const access::Block& block, OptimLevelType level)
        : m_job(job),
          m_window(job.window),
          m_block(block),
          m_tile(input, job, block),
          m_resolve(resolveKernel(level)),
          m_wanted{indexOfRank(job.rank, job.window.voxels()), job.mask != nullptr, job.rank} {
        const std::size_t columns = block.columns().length();
        m_found = {m_classes.reserve(columns), m_before.reserve(columns)};
        m_places.reserve(columns);
    }

    /// Calls `find(row, plane, found)` for each row of results, then writes it.
    template <class Find>
    void forEachRow(access::RowWriter<T>& writer, const access::Plan& plan, const Find& find) {
        plan.forEachSegment(m_block, [&](const access::RowSegment& segment) {
            const std::size_t row = segment.row - m_block.rows().begin;
            const std::size_t plane = segment.plane - m_block.planes().begin;
            find(row, plane, m_found);
            write(row, plane, writer.open(segment));
            writer.flush();
        });
    }

    const RankTile<T>& tile() const { return m_tile; }
    const Wanted& wanted() const { return m_wanted; }

private:
    void write(std::size_t row, std::size_t plane, T* out) {
        const std::size_t count = m_block.columns().length();
        const access::Reach reach = m_window.reach();
        const auto kept = [&](std::size_t x) {
            return sampleOf<T>(
                m_tile.keysOf(row + reach.rows.before, plane + reach.planes.before)[x + reach.columns.before]);
        };
        if constexpr (isOwnClass<T>) {
            for (std::size_t x = 0; x < count; ++x) {
                out[x] = sampleOf<T>(m_found.classes[x]);
            }
            for (std::size_t x = 0; m_wanted.masked && x < count; ++x) {
                out[x] = m_found.before[x] == Found::nothing ? kept(x) : out[x];
            }
        } else {
            m_resolve(m_tile.rankedVoxels(),
                      {row, plane, m_window.columns, m_window.rows, m_window.planes, m_window.isRound, m_window.radius},
                      count, m_found, m_places.data());
            for (std::size_t x = 0; x < count; ++x) {
                const std::uint32_t place = m_places.data()[x];
                out[x] = place == Found::nothing ? kept(x) : m_tile.ranked(place);
            }
        }
    }

    const RankJob& m_job;
    const RankWindow& m_window;
    const access::Block& m_block;
    RankTile<T> m_tile;
    ResolveKernel m_resolve;
    Wanted m_wanted;
    Buffer<std::uint8_t> m_classes;
    Buffer<std::uint32_t> m_before;
    Buffer<std::uint32_t> m_places;
    Found m_found{};
};

/// Boxes: the histograms of columns move down, and that of the window along.
template <class T, class Count>
void selectInBoxes(TileRows<T>& rows, access::RowWriter<T>& writer, const access::Plan& plan, const RankWindow& window,
                   const HistogramKernels<Count>& kernels) {
    const RankTile<T>& tile = rows.tile();
    const std::size_t width = tile.extents().columns;
    const std::size_t count = width - window.columns + 1;
    Buffer<Count> columns;
    columns.reserve(width * columnCounts);
    access::Looks looks;
    const auto take = [&](const ColumnStep& step) {
        kernels.step(step, columns.data(), width);
        looks.add(width / 8);
    };
    rows.forEachRow(writer, plan, [&](std::size_t row, std::size_t plane, const Found& found) {
        if (row == 0) {
            std::fill_n(columns.data(), width * columnCounts, Count{0});
            for (std::size_t z = plane; z < plane + window.planes; ++z) {
                for (std::size_t y = 0; y + 1 < window.rows; ++y) {
                    take({tile.classesOf(y, z), nullptr, tile.maskOf(y, z), nullptr});
                }
            }
        }
        const std::size_t last = row + window.rows - 1;
        for (std::size_t z = plane; z < plane + window.planes; ++z) {
            ColumnStep step{tile.classesOf(last, z), nullptr, tile.maskOf(last, z), nullptr};
            if (row > 0) {
                step.leave = tile.classesOf(row - 1, z);
                step.leaveMask = tile.maskOf(row - 1, z);
            }
            take(step);
        }
        kernels.findInColumns(columns.data(), window.columns, count, rows.wanted(), found);
    });
}

template <class T>
void selectTile(const ImageModel& input, ImageModel& output, const RankJob& job, const access::Plan& plan,
                const access::Block& block, OptimLevelType level) {
    access::RowWriter<T> writer(output, plan);
    TileRows<T> rows(input, job, block, level);
    if (job.window.isRound) {
        const RankTile<T>& tile = rows.tile();
        const Chords chords(job.window, static_cast<std::ptrdiff_t>(tile.offset(1, 0)),
                            static_cast<std::ptrdiff_t>(tile.offset(0, 1)));
        rows.forEachRow(writer, plan, [&](std::size_t row, std::size_t plane, const Found& found) {
            findInChords(tile.classesOf(row, plane), tile.maskOf(row, plane), chords.table(), block.columns().length(),
                         rows.wanted(), found);
        });
    } else if (needsWideCounts(job.window)) {
        selectInBoxes(rows, writer, plan, job.window, histogramKernels<std::int32_t>(level));
    } else {
        selectInBoxes(rows, writer, plan, job.window, histogramKernels<std::int16_t>(level));
    }
}

template <class T>
std::size_t countingBytes(const ImageModel& input, const RankJob& job, std::size_t threads) {
    using access::Scratch;
    const access::Plan plan = cutForCounting(input, job.window, sizeof(T));
    const TileExtents extents = largestTile(plan, job.window);
    const std::size_t columns = plan.largestPart(COLUMNS);
    const std::size_t counts = job.window.isRound
                                   ? Chords::bytes(job.window)
                                   : extents.columns * columnCounts * (needsWideCounts(job.window) ? 4 : 2);
    const std::size_t bytes = RankTile<T>::bytes(extents, job.mask != nullptr) + Scratch::held(columns) +
                              2 * Scratch::held(columns * sizeof(std::uint32_t)) + Scratch::held(counts);
    return workingBytes(plan, bytes, sizeof(T), threads);
}

}  // namespace

void selectRanks(access::ExecutionContext& context, const ImageModel& input, ImageModel& output, const RankJob& job,
                 OptimLevelType level) {
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if (isSquareMedian<T>(job)) {
            selectSquareMedian<T>(context, input, output, job, level);
            return;
        }
        if (const auto network = networkFor(job, sizeof(T))) {
            selectByNetwork<T>(context, input, output, job, *network, level);
            return;
        }
        const access::Plan plan = cutForCounting(input, job.window, sizeof(T));
        access::run(context, plan,
                    [&](const access::Block& block) { selectTile<T>(input, output, job, plan, block, level); });
    });
}

std::size_t rankWorkingBytes(const ImageModel& input, const RankJob& job, std::size_t threads) {
    std::size_t bytes = 0;
    access::dispatch(access::Reals{}, input.getVoxelType(), [&](auto tag) {
        using T = typename decltype(tag)::type;
        if (isSquareMedian<T>(job)) {
            bytes = squareMedianBytes<T>(input, job, threads);
            return;
        }
        const auto network = networkFor(job, sizeof(T));
        bytes = network ? networkBytes<T>(input, job, *network, threads) : countingBytes<T>(input, job, threads);
    });
    return bytes;
}

}  // namespace rix::filtering::rank
