#include "level/Contours.h"

#include <rix/access/Run.h>

#include "level/LevelRows.h"

namespace rix::geometry {

namespace {

using access::Block;
using access::Position;
using Rows = LevelRows<3, 1>;

constexpr double nanosecondsPerVoxel = 4.0;

/// The points on edges that begin in a row: along it, and to the next row.
std::size_t countPoints(const Rows& rows, std::size_t columns) {
    const std::uint8_t* const here = rows.sides(0, 0);
    const std::uint8_t* const below = rows.sides(1, 0);
    std::size_t count = 0;
    for (std::size_t x = 0; x < columns; ++x) {
        count += (crosses(here[x], here[x + 1]) ? 1U : 0U) + (crosses(here[x], below[x]) ? 1U : 0U);
    }
    return count;
}

}  // namespace

Contours::Contours(const ImageModel& input, double level, bool isReflected)
    : m_input(input),
      m_extents(helper::getExtents(input)),
      m_level(level),
      m_isReflected(isReflected),
      m_plan(cutRows(input, nanosecondsPerVoxel)) {
    access::resizeWithLooks(m_before, rowCount(m_extents) + 1, std::size_t{0});
}

void Contours::find(access::ExecutionContext& context) {
    access::run(context, m_plan, [&](const Block& block, access::BlockProgress& progress) {
        Rows rows(m_input, m_level);
        block.forEachRow([&](const Position& at) {
            rows.read(at, 2, 1);
            m_before[rowNumber(at, m_extents) + 1] = countPoints(rows, m_extents[COLUMNS]);
            progress.add(m_extents[COLUMNS]);
        });
    });
    access::Looks looks;
    for (std::size_t i = 1; i < m_before.size(); ++i) {
        m_before[i] += m_before[i - 1];
        looks.add(1);
    }
    access::resizeWithLooks(m_points, m_before.back(), Point{0.0, 0.0, none});
    access::resizeWithLooks(m_marks, m_before.back(), std::uint8_t{0});
    access::run(context, m_plan, [&](const Block& block, access::BlockProgress& progress) {
        Rows rows(m_input, m_level);
        block.forEachRow([&](const Position& at) {
            const std::size_t row = rowNumber(at, m_extents);
            if (m_before[row + 1] > m_before[row]) {
                rows.read(at);
                joinPoints(rows, at);
            }
            progress.add(m_extents[COLUMNS]);
        });
    });
}

/// Places the points on edges that begin in a row, and joins those about the squares behind it. A square whose row
/// begins no edge has none but its lower one crossed, which cannot be.
template <class RowsOfLevel>
void Contours::joinPoints(const RowsOfLevel& rows, const Position& at) {
    const std::size_t row = rowNumber(at, m_extents);
    const std::size_t columns = m_extents[COLUMNS];
    const double* const here = rows.samples(0, 0);
    const double* const next = rows.samples(1, 0);
    const std::uint8_t* const a = rows.sides(0, 0);
    const std::uint8_t* const b = rows.sides(1, 0);
    const std::uint8_t* const c = rows.sides(2, 0);
    std::uint64_t number = m_before[row];
    std::uint64_t numberBelow = m_before[row + 1];
    const auto y = static_cast<double>(at.row);
    for (std::size_t i = 0; i < columns; ++i) {
        const auto x = static_cast<double>(i);
        const std::uint64_t top = number;
        if (crosses(a[i], a[i + 1])) {
            m_points[number].x = x + levelBetween(here[i], here[i + 1], m_level);
            m_points[number++].y = y;
        }
        const std::uint64_t left = number;
        if (crosses(a[i], b[i])) {
            m_points[number].x = x;
            m_points[number++].y = y + levelBetween(here[i], next[i], m_level);
        }
        const std::uint64_t bottom = numberBelow;
        numberBelow += (crosses(b[i], b[i + 1]) ? 1U : 0U) + (crosses(b[i], c[i]) ? 1U : 0U);
        if (i + 1 == columns || ((a[i] | a[i + 1] | b[i] | b[i + 1]) & NoLevel) != 0) {
            continue;
        }
        const std::uint64_t right = number + (crosses(a[i + 1], a[i + 2]) ? 1U : 0U);
        joinSquare({a[i], a[i + 1], b[i + 1], b[i]}, {top, right, bottom, left},
                   {here[i], here[i + 1], next[i + 1], next[i]});
    }
}

/// @param sides,samples of the corners, from x to y; `edges` the points behind each of them
void Contours::joinSquare(const std::array<std::uint8_t, 4>& sides, const std::array<std::uint64_t, 4>& edges,
                          const std::array<double, 4>& samples) {
    const std::size_t ahead = static_cast<std::size_t>(sides[0] + sides[1] + sides[2] + sides[3]);
    if (ahead == 0 || ahead == 4) {
        return;
    }
    const bool isSaddle = ahead == 2 && sides[0] == sides[2];
    bool isJoined = false;
    if (isSaddle) {
        const auto product = [&](std::size_t i) {
            return (samples[i] * 0.5 - m_level * 0.5) * (samples[i + 2] * 0.5 - m_level * 0.5);
        };
        const std::size_t bright = sides[0] == FromLevel ? 0 : 1;
        isJoined = product(bright) >= product(1 - bright);
    }
    // Lines lead from where the way round leaves the bright side to where it comes back.
    for (std::size_t i = 0; i < 4; ++i) {
        if (sides[i] != FromLevel || sides[(i + 1) % 4] == FromLevel) {
            continue;
        }
        std::size_t to = (i + 1) % 4;
        if (isSaddle) {
            to = isJoined ? to : (i + 3) % 4;
        } else {
            while (sides[to] == FromLevel || sides[(to + 1) % 4] != FromLevel) {
                to = (to + 1) % 4;
            }
        }
        const std::uint64_t first = m_isReflected ? edges[to] : edges[i];
        const std::uint64_t second = m_isReflected ? edges[i] : edges[to];
        m_points[first].next = second;
        m_marks[second] = HasPrevious;
    }
}

std::size_t Contours::bytes(const ImageModel& input, std::size_t threads) {
    const access::Plan plan = cutRows(input, nanosecondsPerVoxel);
    const std::size_t atOnce = plan.isSmall() ? 1 : std::min(threads, plan.blockCount());
    const std::size_t points = 2 * plan.voxelCount();
    return (rowCount(helper::getExtents(input)) + 1) * sizeof(std::size_t) + points * (sizeof(Point) + 1) +
           atOnce * Rows::bytes(input);
}

}  // namespace rix::geometry
