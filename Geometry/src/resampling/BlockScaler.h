#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include <rix/access/Plan.h>
#include <rix/access/RoundingRange.h>
#include <rix/access/Rows.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>
#include <rix/access/StreamKernels.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/access/WholeImage.h>
#include <rix/image/ImageHeader.h>

#include "resampling/LineKernels.h"
#include "resampling/SeparableScaling.h"

namespace rix::geometry {

/// Rough cost of an element, for deciding whether threads pay.
inline constexpr double nanosecondsPerElement = 0.5;
/// Elements read or written in a block, and between two looks at a request to cancel.
inline constexpr std::size_t elementsOfBlock = std::size_t{1} << 19;
inline constexpr std::size_t elementsBetweenLooks = std::size_t{1} << 17;
/// Columns of a block are a multiple of this: whole vectors of every level.
inline constexpr std::size_t columnGroup = 64;

inline std::size_t whole(std::size_t count, std::size_t group) {
    return (count + group - 1) / group * group;
}

/// Means of integers are sums of whole numbers, and divided once.
inline bool hasWholeWeights(VoxelTypes type) {
    return access::contains(access::Integers{}, type);
}

/// The weights of the axes, and what follows from them and the images for the way through them.
template <class T>
struct Scaling {
    std::array<LineWeights<T>, 3> lines;
    bool rowsFirst;  ///< sums over rows before those along them: where rows become fewer
    T divisor;
    std::array<std::size_t, RIX_COMPONENTS_SIZE> extents;  ///< of the output
    std::size_t ringRows;                                  ///< that are kept for sums over rows
    access::Plan plan;
    std::size_t columns;  ///< of the output, in a block
    std::size_t width;    ///< of the input, in a block

    Scaling(const ImageModel& input, const ImageScales& scales)
        : lines{line(input, scales, COLUMNS), line(input, scales, ROWS), line(input, scales, PLANS)},
          rowsFirst(scales[ROWS].in > scales[ROWS].out),
          divisor(static_cast<T>(lines[0].divisor() * lines[1].divisor() * lines[2].divisor())),
          extents(scaledExtents(input, scales)),
          ringRows(lines[ROWS].widestSource(1)) {
        // Each axis adds what lies beyond it to sums that others have not divided yet.
        const double planes = lines[PLANS].divisor();
        lines[COLUMNS].scaleConstants(rowsFirst ? planes * lines[ROWS].divisor() : planes);
        lines[ROWS].scaleConstants(rowsFirst ? planes : planes * lines[COLUMNS].divisor());
        cut(helper::getExtents(input), scales);
    }

    std::size_t ringStride() const { return whole(rowsFirst ? width : columns, columnGroup); }
    std::size_t rowSpace() const { return whole(std::max(width, columns), columnGroup); }

private:
    static LineWeights<T> line(const ImageModel& input, const ImageScales& scales, Components axis) {
        return LineWeights<T>(scales[axis], hasWholeWeights(input.getVoxelType()));
    }

    void cut(const std::array<std::size_t, RIX_COMPONENTS_SIZE>& in, const ImageScales& scales) {
        plan = access::Plan(extents, access::JoinedAxes::None);
        const auto perOutput = [&](Components axis) {
            const auto ratio = static_cast<double>(scales[axis].in) / static_cast<double>(scales[axis].out);
            return std::max(ratio, 1.0);
        };
        // The rows that are kept fit the level-2 cache, if they are not shorter than pays for that.
        const double share = rowsFirst ? perOutput(COLUMNS) : 1.0;
        const double fitting =
            static_cast<double>(access::blockBytes()) / (static_cast<double>(ringRows * sizeof(T)) * share);
        const std::size_t least = std::max(access::scaledToBlocks(1024), columnGroup);
        columns = std::min(extents[COLUMNS],
                           whole(std::max(static_cast<std::size_t>(std::min(fitting, 1e9)), least), columnGroup));
        const double perRow = static_cast<double>(columns) * perOutput(COLUMNS) * perOutput(ROWS) * perOutput(PLANS);
        const auto elements = static_cast<double>(access::scaledToBlocks(elementsOfBlock));
        const auto rows = static_cast<std::size_t>(std::clamp(elements / perRow, 1.0, 1e9));
        const auto planes =
            static_cast<std::size_t>(std::clamp(elements / (perRow * static_cast<double>(extents[ROWS])), 1.0, 1e9));
        plan.cut(COLUMNS, {1, columns});
        // What a block makes anew of the rows before its first is to be little.
        plan.cut(ROWS, {1, std::min(extents[ROWS], rowsFirst ? rows : std::max(rows, 4 * ringRows))});
        plan.cut(PLANS, {1, std::min(extents[PLANS], planes)});
        for (const Components axis : {SEQUENCE, SPECTRAL_SERIES}) {
            plan.cut(axis, {1, 1});
        }
        const double read = static_cast<double>(in[COLUMNS]) * static_cast<double>(in[ROWS]) *
                            static_cast<double>(in[PLANS] * in[SEQUENCE] * in[SPECTRAL_SERIES]);
        plan.setSmall(std::max(read, static_cast<double>(plan.voxelCount())) * nanosecondsPerElement <
                      access::smallWorkNanoseconds());
        width = lines[COLUMNS].widestSource(columns);
        if (lines[COLUMNS].isKept()) {
            width = columns;
        }
    }
};

/// The weights of columns that come again, for all blocks.
template <class T>
class PeriodOfColumns {
public:
    PeriodOfColumns(const LineWeights<T>& along, const LineKernels<T>& kernels) : m_tables(bytes(along)) {
        const auto& found = along.repetition();
        if (found.period == 0) {
            return;
        }
        const std::size_t entries = along.taps() * found.period;
        m_period.lanes = m_tables.template as<typename RowPeriod<T>::Lane>();
        m_period.weights = reinterpret_cast<T*>(m_period.lanes + entries);
        m_period.begins = reinterpret_cast<std::int32_t*>(m_period.weights + entries);
        m_period.period = found.period;
        m_period.shift = found.shift;
        RowTaps<T> taps{};
        taps.indices = along.indices(0) + found.begin;
        taps.weights = along.weights(0) + found.begin;
        taps.stride = along.stride();
        taps.taps = along.taps();
        m_isFound = kernels.findPeriod(taps, m_period);
    }

    static std::size_t bytes(const LineWeights<T>& along) {
        return RowPeriod<T>::bytes(along.repetition().period, along.taps());
    }

    /// Null where there is none.
    const RowPeriod<T>* get() const { return m_isFound ? &m_period : nullptr; }

private:
    access::Scratch m_tables;
    RowPeriod<T> m_period{};
    bool m_isFound = false;
};

/// Makes the rows of a block.
template <class T>
class BlockScaler {
public:
    /// @param period of the weights of the columns, or null
    BlockScaler(const Scaling<T>& scaling, const LineKernels<T>& kernels, const RowPeriod<T>* period,
                const ImageModel& input, const access::Block& block, access::BlockProgress& progress)
        : m_scaling(scaling),
          m_kernels(kernels),
          m_progress(progress),
          m_reader(input, scaling.plan),
          m_keepsRows(!access::needsCopy(input, access::voxelTypeOf<T>)),
          m_first(block.columns().begin),
          m_count(block.columns().length()),
          m_source(scaling.lines[COLUMNS].source(m_first, block.columns().end)),
          m_ringStride(scaling.ringStride()),
          m_ring(scaling.ringRows * m_ringStride * sizeof(T)),
          m_rows(2 * scaling.rowSpace() * sizeof(T)),
          m_tables(tableBytes(scaling)) {
        const LineWeights<T>& along = scaling.lines[COLUMNS];
        m_kept = m_tables.template as<const T*>();
        m_tags = reinterpret_cast<std::size_t*>(m_kept + scaling.ringRows);
        m_pointers = reinterpret_cast<const T**>(m_tags + scaling.ringRows);
        auto* const weights = reinterpret_cast<T*>(m_pointers + scaling.lines[ROWS].taps());
        m_rowWeights = weights;
        auto* const at = reinterpret_cast<std::int32_t*>(weights + scaling.lines[ROWS].taps());
        if (!along.isKept()) {
            m_along.indices = along.indices(0) + m_first;
            m_along.weights = along.weights(0) + m_first;
            m_along.stride = along.stride();
            m_along.taps = along.taps();
            m_along.constants = along.constants() != nullptr ? along.constants() + m_first : nullptr;
            m_along.at = at;
            m_along.first = static_cast<std::int32_t>(m_source.begin);
            if (period != nullptr) {
                findPeriods(along, *period);
            }
            m_kernels.place(m_along, m_count, m_source.end - m_source.begin, at);
        }
    }

    /// Where the block's results have weights that come again.
    void findPeriods(const LineWeights<T>& along, const RowPeriod<T>& period) {
        const auto& found = along.repetition();
        const std::size_t before =
            m_first > found.begin ? (m_first - found.begin + found.period - 1) / found.period : 0;
        const std::size_t begin = found.begin + before * found.period;
        const std::size_t end = std::min(found.end, m_first + m_count);
        if (end >= begin + found.period && (begin - m_first) % LineWeights<T>::padding == 0) {
            m_along.period = &period;
            m_along.begin = begin - m_first;
            m_along.end = end - m_first;
            m_along.moved = before * found.shift;
        }
    }

    static std::size_t tableBytes(const Scaling<T>& scaling) {
        const LineWeights<T>& along = scaling.lines[COLUMNS];
        return scaling.ringRows * (sizeof(T*) + sizeof(std::size_t)) +
               scaling.lines[ROWS].taps() * (sizeof(T*) + sizeof(T)) +
               (along.isKept() ? 0 : along.taps() * (scaling.columns / 2 + 1) * sizeof(std::int32_t));
    }

    void startPlane(const access::Position& at) {
        m_place = at;
        std::fill_n(m_tags, m_scaling.ringRows, none);
    }

    /// A row of the output, rounded to integers of 1 or 2 bytes where sums over rows are the last that is done.
    void makeRounded(std::size_t row, const access::RoundingRange<float>& range, AcrossRounded across, RawData out) {
        const float* const constant = findRows(row);
        across(m_pointers, m_rowWeights, m_scaling.lines[ROWS].taps(), constant, range.lowest, range.highest, out,
               m_count);
        m_progress.add(m_count);
    }

    /// A row of the output of the type of the sums, where sums over rows are the last that is done.
    void makeInto(std::size_t row, access::Stores stores, T* out) {
        const T* const constant = findRows(row);
        const auto across = stores == access::Stores::Streaming ? m_kernels.acrossStreamed : m_kernels.across;
        across(m_pointers, m_rowWeights, m_scaling.lines[ROWS].taps(), constant, out, m_count);
        m_progress.add(m_count);
    }

    /// A row of the output; valid until the next one. There is space behind it for whole vectors.
    T* make(std::size_t row) {
        const LineWeights<T>& down = m_scaling.lines[ROWS];
        T* const sums = m_rows.template as<T>();
        T* const out = sums + m_scaling.rowSpace();
        const std::size_t width = m_scaling.rowsFirst ? m_source.end - m_source.begin : m_count;
        const T* made = nullptr;
        if (down.isKept()) {
            made = keptRow(row);
        } else {
            const T* const constant = findRows(row);
            T* const to = m_scaling.rowsFirst && m_along.taps > 0 ? sums : out;
            m_kernels.across(m_pointers, m_rowWeights, down.taps(), constant, to, width);
            made = to;
        }
        if (m_scaling.rowsFirst && m_along.taps > 0) {
            m_kernels.along(made, m_source.end - m_source.begin, m_along, m_count, out);
        } else if (made != out) {
            std::copy_n(made, m_count, out);
        }
        if (m_scaling.divisor != T(1)) {
            m_kernels.divide(out, m_scaling.divisor, m_count);
        }
        m_progress.add(m_count);
        return out;
    }

private:
    static constexpr std::size_t none = std::numeric_limits<std::size_t>::max();

    /// The rows that a row of the output is made of, their weights, and what is added to them, or null.
    const T* findRows(std::size_t row) {
        const LineWeights<T>& down = m_scaling.lines[ROWS];
        for (std::size_t k = 0; k < down.taps(); ++k) {
            m_pointers[k] = keptRow(static_cast<std::size_t>(down.indices(k)[row]));
            m_rowWeights[k] = down.weights(k)[row];
        }
        return down.constants() != nullptr ? down.constants() + row : nullptr;
    }

    /// A row of the input, summed over planes, and where rows come last, along itself.
    const T* keptRow(std::size_t row) {
        const std::size_t slot = row % m_scaling.ringRows;
        if (m_tags[slot] != row) {
            m_tags[slot] = row;
            m_kept[slot] = makeKept(row, m_ring.template as<T>() + slot * m_ringStride);
        }
        return m_kept[slot];
    }

    const T* makeKept(std::size_t row, T* to) {
        const std::size_t width = m_source.end - m_source.begin;
        const bool goesAlong = !m_scaling.rowsFirst && m_along.taps > 0;
        const LineWeights<T>& through = m_scaling.lines[PLANS];
        const T* made = nullptr;
        if (through.isKept()) {
            made = read(row, m_place.plane);
        } else {
            T* const sums = goesAlong ? m_rows.template as<T>() : to;
            for (std::size_t k = 0; k < through.taps(); ++k) {
                const T* rows[2] = {read(row, static_cast<std::size_t>(through.indices(k)[m_place.plane])), sums};
                // Added in the order of the planes, one after the other: they may be read into one buffer.
                const T weights[2] = {through.weights(k)[m_place.plane], T(1)};
                const T* const constant = k + 1 == through.taps() && through.constants() != nullptr
                                              ? through.constants() + m_place.plane
                                              : nullptr;
                m_kernels.across(rows, weights, k == 0 ? 1 : 2, constant, sums, width);
            }
            made = sums;
        }
        if (goesAlong) {
            m_kernels.along(made, width, m_along, m_count, to);
            return to;
        }
        if (made != to && !m_keepsRows) {
            std::copy_n(made, width, to);
            return to;
        }
        return made;
    }

    const T* read(std::size_t row, std::size_t plane) {
        access::RowSegment segment{m_place, m_source.end - m_source.begin};
        segment.column = m_source.begin;
        segment.row = row;
        segment.plane = plane;
        m_read += segment.count;
        if (m_read > elementsBetweenLooks) {
            m_read = 0;
            m_progress.tell();
        }
        return m_reader.read(segment);
    }

    const Scaling<T>& m_scaling;
    const LineKernels<T>& m_kernels;
    access::BlockProgress& m_progress;
    access::RowReader<T> m_reader;
    bool m_keepsRows;  ///< what the reader gives stays valid
    std::size_t m_first;
    std::size_t m_count;
    typename LineWeights<T>::Range m_source;
    std::size_t m_ringStride;
    access::Scratch m_ring;
    access::Scratch m_rows;
    access::Scratch m_tables;
    const T** m_kept;
    std::size_t* m_tags;
    const T** m_pointers;
    T* m_rowWeights;
    RowTaps<T> m_along{};
    access::Position m_place;
    std::size_t m_read = 0;
};

}  // namespace rix::geometry
