#include "GaussianFixed.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <rix/access/ImageModelProxy.h>
#include <rix/access/MovingWindows.h>
#include <rix/access/Scratch.h>

#include "GaussianFixedKernels.h"

namespace rix::filtering::smoothing {

namespace {

using access::Scratch;

/// Between both passes values, 128 less, are in so many parts of one.
constexpr double partsOfOne = 256.0;

access::BoxNeeds needsOf(const GaussianFixedTaps& x, const GaussianFixedTaps& y) {
    access::BoxNeeds needs;
    needs.reach = {{x.reach(), x.reach()}, {y.reach(), y.reach()}, {}};
    needs.nanosecondsPerVoxel = 0.15 + 0.015 * static_cast<double>(x.reach() + y.reach());
    // Pieces whose pairs of rows stay in the cache of the second level.
    needs.carried = access::Carried{.piece = 2048};
    return needs;
}

/// Columns of a row between both passes: whole vectors, and at least one of results.
std::size_t columnsBetween(std::size_t count, const GaussianFixedTaps& x) {
    constexpr std::size_t step = GaussianFixedKernels::countStep;
    return (std::max(count, step) + 2 * x.reach() + step) / step * step;
}

std::size_t ringBytes(std::size_t columns, const GaussianFixedTaps& y) {
    return (2 * y.pairs() * sizeof(std::int32_t) + sizeof(std::int16_t)) * columns;
}

/// The rows around one that moves down, in pairs: each with the one below it.
class PairsOfRows {
public:
    PairsOfRows(access::WindowRows<std::uint8_t>& window, std::size_t columns, const GaussianFixedTaps& x,
                const GaussianFixedTaps& y, const GaussianFixedKernels& kernels)
        : m_window(window),
          m_columns(columnsBetween(columns, x)),
          m_margin(x.reach()),
          m_reach(static_cast<std::int64_t>(y.reach())),
          m_slots(2 * y.pairs()),
          m_kernels(kernels),
          m_memory(ringBytes(m_columns, y)) {}

    std::size_t columns() const { return m_columns; }
    /// For a row between both passes.
    std::int16_t* between() const {
        return reinterpret_cast<std::int16_t*>(m_memory.as<std::int32_t>() + m_slots * m_columns);
    }

    /// The pairs for a row: from the one whose upper row is one beyond reach, every other, to the last within reach.
    const std::int32_t* const* around(const access::RowSegment& segment) {
        const auto row = static_cast<std::int64_t>(segment.row);
        const bool goesOn = m_reach > 0 && m_isBegun && segment.plane == m_plane && row == m_row + 1;
        if (!goesOn) {
            fill(row - m_reach - 1, row - m_reach, row - m_reach, segment.plane);
        }
        for (std::int64_t i = goesOn ? row + m_reach - 1 : row - m_reach; i < row + m_reach; ++i) {
            fill(i, i, i + 1, segment.plane);
        }
        m_isBegun = true;
        m_plane = segment.plane;
        m_row = row;
        for (std::int64_t k = 0; k <= m_reach; ++k) {
            m_rows[static_cast<std::size_t>(k)] = slot(row - m_reach - 1 + 2 * k);
        }
        return m_rows;
    }

private:
    std::int32_t* slot(std::int64_t index) const {
        const auto slots = static_cast<std::int64_t>(m_slots);
        return m_memory.as<std::int32_t>() + static_cast<std::size_t>((index % slots + slots) % slots) * m_columns;
    }
    void fill(std::int64_t index, std::int64_t upper, std::int64_t lower, std::size_t plane) {
        const auto at = static_cast<std::int64_t>(plane);
        const std::uint8_t* const above = m_window.row(upper, at) - m_margin;
        m_kernels.pair(above, m_window.row(lower, at) - m_margin, slot(index), m_columns);
    }

    access::WindowRows<std::uint8_t>& m_window;
    std::size_t m_columns;
    std::size_t m_margin;
    std::int64_t m_reach;
    std::size_t m_slots;
    const GaussianFixedKernels& m_kernels;
    Scratch m_memory;
    const std::int32_t* m_rows[GaussianFixedTaps::mostPairs];
    bool m_isBegun = false;
    std::size_t m_plane = 0;
    std::int64_t m_row = 0;
};

}  // namespace

std::optional<GaussianFixed> GaussianFixed::of(VoxelTypes input, VoxelTypes output, const GaussianJob& job) {
    const auto& [x, y, z] = job.deviations;
    const bool isOfBytes = input == RIX_UINT8 && output == RIX_UINT8 && !job.inDoubles;
    if (!isOfBytes || z > 0 || (x == 0 && y == 0)) {
        return std::nullopt;
    }
    const double value = job.borderValue;
    if (job.border == access::BorderPolicy::FIXED && !(value >= 0 && value <= 255 && value == std::floor(value))) {
        return std::nullopt;
    }
    const auto tapsX = GaussianFixedTaps::of(x);
    const auto tapsY = x == y ? tapsX : GaussianFixedTaps::of(y);
    return tapsX && tapsY ? std::optional(GaussianFixed(*tapsX, *tapsY, job)) : std::nullopt;
}

void GaussianFixed::smooth(access::ExecutionContext& context, const ImageModel& input, ImageModel& output,
                           OptimLevelType level) const {
    const ImageModelBinaryProxy zeroOrOne(&input, RIX_UINT8);
    const ImageModel& image = input.getInterpretation() == RIX_BINARY ? zeroOrOne : input;
    const GaussianFixedKernels kernels = gaussianFixedKernels(level);
    const auto border = access::borderOf<std::uint8_t>(m_border, m_borderValue);
    const auto factorDown = static_cast<float>(partsOfOne / m_y.scale());
    const auto factorAlong = static_cast<float>(1.0 / (partsOfOne * m_x.scale()));
    access::transformMovingWindows<std::uint8_t, std::uint8_t>(
        context, image, *border, output, needsOf(m_x, m_y),
        [&](access::WindowRows<std::uint8_t>& window, const access::Block& part) {
            return PairsOfRows(window, part.columns().length(), m_x, m_y, kernels);
        },
        [&](PairsOfRows& pairs, const access::RowSegment& segment, std::uint8_t* out) {
            kernels.down(pairs.around(segment), m_y.beginningWithZero(), m_y.pairs(), -128 * m_y.sum(), factorDown,
                         pairs.between(), pairs.columns());
            kernels.along(pairs.between(), m_x.endingWithZero(), m_x.fills(), m_x.pairs(), factorAlong, out,
                          segment.count);
        });
}

std::size_t GaussianFixed::workingBytes(const ImageModel& input, std::size_t threads) const {
    const access::BoxNeeds needs = needsOf(m_x, m_y);
    const access::Plan plan = access::cutBoxes({&input}, {}, needs);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    const std::size_t columns = columnsBetween(plan.largestPart(COLUMNS), m_x);
    return access::windowMemory(input, needs, sizeof(std::uint8_t), atOnce) +
           atOnce * Scratch::held(ringBytes(columns, m_y));
}

}  // namespace rix::filtering::smoothing
