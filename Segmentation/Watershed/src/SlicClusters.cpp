#include "SlicClusters.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include <rix/access/Looks.h>
#include <rix/access/Run.h>
#include <rix/access/Scratch.h>

namespace rix::segmentation {

namespace {

constexpr std::uint32_t nobody = std::numeric_limits<std::uint32_t>::max();
/// Larger weights leave nothing of the values, and could make distances infinite.
constexpr double largestWeight = 1e18;
constexpr double nanosecondsPerVisit = 1.0;
/// Of which the sum is not worth a call.
constexpr std::size_t shortRun = 16;

bool hasNobody(const std::uint32_t* numbers, std::size_t count) {
    std::uint32_t found = 0;
    for (std::size_t x = 0; x < count; ++x) {
        found |= numbers[x] == nobody ? 1U : 0U;
    }
    return found != 0;
}

/// The sum of a few values that are integers.
std::int64_t sumOfFew(const float* values, std::size_t count) {
    std::int64_t sum = 0;
    for (std::size_t x = 0; x < count; ++x) {
        sum += static_cast<std::int32_t>(values[x]);
    }
    return sum;
}

}  // namespace

SlicGrid::SlicGrid(const std::array<std::size_t, 3>& size, std::size_t axes, std::size_t segments,
                   std::size_t valueChannels)
    : extents(size), counts{1, 1, 1}, steps{}, channels(valueChannels) {
    // Axes that are shorter than the side of a cube have one centre, and the others share all of them.
    std::array<bool, 3> isDivided{true, true, axes == 3};
    for (bool changes = true; changes;) {
        double voxels = 1.0;
        double divided = 0.0;
        for (std::size_t a = 0; a < 3; ++a) {
            voxels *= isDivided[a] ? static_cast<double>(extents[a]) : 1.0;
            divided += isDivided[a] ? 1.0 : 0.0;
        }
        side = divided > 0.0 ? std::max(1.0, std::pow(voxels / static_cast<double>(segments), 1.0 / divided)) : side;
        changes = false;
        for (std::size_t a = 0; a < 3 && !changes; ++a) {
            changes = isDivided[a] && static_cast<double>(extents[a]) < side;
            isDivided[a] = isDivided[a] && !changes;
        }
    }
    for (std::size_t a = 0; a < 3; ++a) {
        const auto extent = static_cast<double>(extents[a]);
        counts[a] = isDivided[a] ? static_cast<std::size_t>(std::clamp(std::round(extent / side), 1.0, extent)) : 1;
        steps[a] = extent / static_cast<double>(counts[a]);
    }
}

/// A row of the image at work.
struct SlicClusters::Row {
    std::size_t index;  ///< of all planes
    std::size_t row;
    std::size_t plane;
    float* distances;
    std::uint32_t* numbers;
};

SlicClusters::SlicClusters(const SlicGrid& grid, const float* values, double weight, OptimLevelType level)
    : m_grid(grid),
      m_values(values),
      m_weight(static_cast<float>(std::min(weight, largestWeight))),
      m_kernels(slicKernels(level)),
      m_positions(grid.centers()),
      m_colors(grid.centers() * grid.channels),
      m_sorted(grid.centers()),
      m_cells(grid.counts[1] * grid.counts[2] + 1) {
    std::size_t number = 0;
    for (std::size_t z = 0; z < grid.counts[2]; ++z) {
        for (std::size_t y = 0; y < grid.counts[1]; ++y) {
            for (std::size_t x = 0; x < grid.counts[0]; ++x, ++number) {
                const std::array<std::size_t, 3> at{x, y, z};
                std::array<std::size_t, 3> voxel{};
                for (std::size_t a = 0; a < 3; ++a) {
                    m_positions[number][a] = (static_cast<double>(at[a]) + 0.5) * grid.steps[a] - 0.5;
                    voxel[a] = std::min(static_cast<std::size_t>(m_positions[number][a] + 0.5), grid.extents[a] - 1);
                }
                const std::size_t place = (voxel[2] * grid.extents[1] + voxel[1]) * grid.extents[0] + voxel[0];
                for (std::size_t c = 0; c < grid.channels; ++c) {
                    m_colors[number * grid.channels + c] = values[c * grid.voxels() + place];
                }
            }
        }
    }
}

std::size_t SlicClusters::bytes(const SlicGrid& grid, std::size_t threads) {
    using access::Scratch;
    return grid.centers() * (sizeof(std::array<double, 3>) + grid.channels * sizeof(float) + sizeof(std::uint32_t)) +
           (grid.counts[1] * grid.counts[2] + 1) * sizeof(std::uint32_t) +
           threads * (grid.centers() * (4 + grid.channels) * sizeof(std::int64_t) +
                      Scratch::held(grid.extents[0] * sizeof(float)) +
                      Scratch::held(grid.extents[0] * sizeof(std::uint32_t)));
}

std::size_t SlicClusters::cellOf(double position, std::size_t axis) const {
    const double cell = std::floor((position + 0.5) / m_grid.steps[axis]);
    return static_cast<std::size_t>(std::clamp(cell, 0.0, static_cast<double>(m_grid.counts[axis] - 1)));
}

void SlicClusters::sortIntoCells() {
    const auto cellOfCenter = [&](const std::array<double, 3>& at) {
        return cellOf(at[2], 2) * m_grid.counts[1] + cellOf(at[1], 1);
    };
    std::fill(m_cells.begin(), m_cells.end(), 0U);
    for (const auto& position : m_positions) {
        ++m_cells[cellOfCenter(position)];
    }
    std::uint32_t begin = 0;
    for (std::uint32_t& cell : m_cells) {
        begin += cell;
        cell = begin;
    }
    // From the last to the first, so that the centres of a cell keep their order.
    for (std::size_t number = m_positions.size(); number-- > 0;) {
        m_sorted[--m_cells[cellOfCenter(m_positions[number])]] = static_cast<std::uint32_t>(number);
    }
}

/// Lets the centres at most so many steps away along each axis approach the voxels from `begin` to `end`.
void SlicClusters::approachFrom(const Row& row, double windows, std::size_t begin, std::size_t end) const {
    const std::array<double, 3> reach{windows * m_grid.steps[0], windows * m_grid.steps[1], windows * m_grid.steps[2]};
    const auto y = static_cast<double>(row.row);
    const auto z = static_cast<double>(row.plane);
    SlicPiece piece{nullptr, m_grid.voxels(), m_grid.channels, 0, nullptr, nullptr};
    SlicCenter center{nullptr, 0.0F, 0.0F, m_weight, 0};
    // A step more, so that no rounding of the bounds leaves a centre out.
    const std::size_t lastPlane = cellOf(z + reach[2] + m_grid.steps[2] * 0.5, 2);
    const std::size_t firstRow = cellOf(y - reach[1] - m_grid.steps[1] * 0.5, 1);
    const std::size_t lastRow = cellOf(y + reach[1] + m_grid.steps[1] * 0.5, 1);
    for (std::size_t plane = cellOf(z - reach[2] - m_grid.steps[2] * 0.5, 2); plane <= lastPlane; ++plane) {
        const std::size_t cells = plane * m_grid.counts[1];
        for (std::uint32_t i = m_cells[cells + firstRow]; i < m_cells[cells + lastRow + 1]; ++i) {
            const std::uint32_t number = m_sorted[i];
            const auto& at = m_positions[number];
            if (std::abs(at[1] - y) > reach[1] || std::abs(at[2] - z) > reach[2]) {
                continue;
            }
            const double low = std::max(std::ceil(at[0] - reach[0]), static_cast<double>(begin));
            const double high = std::min(std::floor(at[0] + reach[0]), static_cast<double>(end) - 1.0);
            if (low > high) {
                continue;
            }
            const auto first = static_cast<std::size_t>(low);
            piece.values = m_values + row.index * m_grid.extents[0] + first;
            piece.count = static_cast<std::size_t>(high) - first + 1;
            piece.distances = row.distances + first;
            piece.numbers = row.numbers + first;
            const double across = (at[1] - y) * (at[1] - y) + (at[2] - z) * (at[2] - z);
            center.values = m_colors.data() + number * m_grid.channels;
            center.column = static_cast<float>(at[0] - low);
            center.apart = static_cast<float>(across) * m_weight;
            center.number = number;
            m_kernels.approach(piece, center);
        }
    }
}

void SlicClusters::findNearest(const Row& row) const {
    const std::size_t columns = m_grid.extents[0];
    std::fill_n(row.distances, columns, std::numeric_limits<float>::infinity());
    std::fill_n(row.numbers, columns, nobody);
    approachFrom(row, 1.0, 0, columns);
    // Where centres have moved away, voxels look further.
    for (double windows = 2.0; hasNobody(row.numbers, columns); windows += 1.0) {
        access::throwIfRunCancelled();
        for (std::size_t begin = 0; begin < columns;) {
            std::size_t end = begin;
            while (end < columns && row.numbers[end] == nobody) {
                ++end;
            }
            if (end > begin) {
                approachFrom(row, windows, begin, end);
            }
            begin = end + 1;
        }
    }
}

void SlicClusters::addRow(const Row& row, Sums& sums) const {
    const std::size_t columns = m_grid.extents[0];
    const float* const values = m_values + row.index * columns;
    for (std::size_t begin = 0; begin < columns;) {
        const std::uint32_t number = row.numbers[begin];
        std::size_t end = begin + 1;
        while (end < columns && row.numbers[end] == number) {
            ++end;
        }
        const std::size_t count = end - begin;
        std::int64_t* const sum = sums.data() + number * stride();
        sum[0] += static_cast<std::int64_t>(count);
        // Both halves of a run's columns: their sum is even where the number of columns is odd.
        sum[1] += static_cast<std::int64_t>((begin + end - 1) * count / 2);
        sum[2] += static_cast<std::int64_t>(row.row * count);
        sum[3] += static_cast<std::int64_t>(row.plane * count);
        for (std::size_t c = 0; c < m_grid.channels; ++c) {
            const float* const run = values + c * m_grid.voxels() + begin;
            sum[4 + c] +=
                count < shortRun ? sumOfFew(run, count) : static_cast<std::int64_t>(m_kernels.sum(run, count));
        }
        begin = end;
    }
}

/// Calls `use(forRows)` for every block, in which `forRows(take)` calls `take(row)` for its rows with the nearest
/// centres: a step of the run.
template <class Use>
void SlicClusters::forEachRow(access::ExecutionContext& context, double nanosecondsPerVoxel, const Use& use) {
    sortIntoCells();
    const std::size_t columns = m_grid.extents[0];
    const access::Plan plan =
        access::cutBands({columns, m_grid.rows(), 1, 1, 1}, {.nanosecondsPerVoxel = nanosecondsPerVoxel});
    access::run(context, plan, [&](const access::Block& block, access::BlockProgress& progress) {
        const access::Scratch distances(columns * sizeof(float));
        const access::Scratch numbers(columns * sizeof(std::uint32_t));
        const auto end = block.rows().end;
        use([&](const auto& take) {
            for (std::size_t index = block.rows().begin; index < end; ++index) {
                const Row row{index, index % m_grid.extents[1], index / m_grid.extents[1], distances.as<float>(),
                              numbers.as<std::uint32_t>()};
                findNearest(row);
                take(row);
                progress.add(columns * 4);
            }
        });
    });
}

void SlicClusters::move(access::ExecutionContext& context) {
    const double cost = nanosecondsPerVisit * (m_grid.extents[2] > 1 ? 8.0 : 4.0);
    forEachRow(context, cost, [&](const auto& forRows) {
        auto sums = m_sums.take([&] { return std::make_unique<Sums>(m_grid.centers() * stride()); });
        forRows([&](const Row& row) { addRow(row, *sums); });
        m_sums.give(std::move(sums));
    });
    for (std::size_t number = 0; number < m_grid.centers(); ++number) {
        Sums& total = *m_sums.all().front();
        std::int64_t* const sum = total.data() + number * stride();
        for (std::size_t other = 1; other < m_sums.all().size(); ++other) {
            const std::int64_t* const part = m_sums.all()[other]->data() + number * stride();
            for (std::size_t i = 0; i < stride(); ++i) {
                sum[i] += part[i];
            }
        }
        if (sum[0] == 0) {
            continue;
        }
        const auto count = static_cast<double>(sum[0]);
        for (std::size_t a = 0; a < 3; ++a) {
            m_positions[number][a] = static_cast<double>(sum[1 + a]) / count;
        }
        for (std::size_t c = 0; c < m_grid.channels; ++c) {
            m_colors[number * m_grid.channels + c] = static_cast<float>(static_cast<double>(sum[4 + c]) / count);
        }
    }
    for (const auto& sums : m_sums.all()) {
        std::fill(sums->begin(), sums->end(), std::int64_t{0});
    }
}

void SlicClusters::assign(access::ExecutionContext& context, std::uint32_t* numbers) {
    const double cost = nanosecondsPerVisit * (m_grid.extents[2] > 1 ? 8.0 : 4.0);
    forEachRow(context, cost, [&](const auto& forRows) {
        forRows([&](const Row& row) {
            std::copy_n(row.numbers, m_grid.extents[0], numbers + row.index * m_grid.extents[0]);
        });
    });
}

}  // namespace rix::segmentation
