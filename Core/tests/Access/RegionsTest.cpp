// The part of an input that a part of a resampled output reads, against the reads of every element.

#include <rix/access/Regions.h>

#include "Testing.h"

namespace rix::access {
namespace {

using test::Extents;

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Every element of the output on its own.
Interval readBy(const Block& output, const RegionMap& map, std::size_t axis, const Reach::Axis& support,
                std::size_t extent) {
    double low = infinity;
    double high = -infinity;
    output.forEachRow([&](const Position& at) {
        for (std::size_t x = output.columns().begin; x < output.columns().end; ++x) {
            const double place = std::floor(map.place(axis, x, at.row, at.plane));
            low = std::min(low, place - static_cast<double>(support.before));
            high = std::max(high, place + static_cast<double>(support.after));
        }
    });
    const auto last = static_cast<double>(extent);
    return {static_cast<std::size_t>(std::clamp(low, 0.0, last)),
            static_cast<std::size_t>(std::clamp(high + 1, 0.0, last))};
}

TEST(SourceRegion, IsWhatTheElementsRead) {
    std::mt19937 random(17);
    std::uniform_real_distribution<double> coefficient(-2, 2);
    std::uniform_real_distribution<double> shift(-20, 40);
    const Extents extents{31, 17, 9, 2, 3};
    const Reach supports[] = {{{0, 1}, {0, 1}, {0, 1}}, {{1, 2}, {0, 0}, {3, 0}}};
    for (int i = 0; i < 500; ++i) {
        RegionMap map;
        for (auto& row : map.matrix) {
            for (std::size_t k = 0; k < 3; ++k) {
                // Whole numbers, too: places then lie on elements.
                row[k] = i % 3 == 0 ? std::round(coefficient(random)) : coefficient(random);
            }
            row[3] = i % 3 == 0 ? std::round(shift(random)) : shift(random);
        }
        const Block output{{{{3, 9}, {0, 5}, {2, 4}, {1, 2}, {2, 3}}}};
        const Reach& support = supports[i % 2];
        const Block source = sourceRegion(output, map, support, extents);
        const Reach::Axis axes[] = {support.columns, support.rows, support.planes};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const Interval expected = readBy(output, map, axis, axes[axis], extents[axis]);
            EXPECT_EQ(source.axes[axis].length(), expected.length());
            EXPECT_EQ(source.axes[axis].begin, expected.begin);
        }
        EXPECT_EQ(source.sequence(), 1U);
        EXPECT_EQ(source.spectral(), 2U);
    }
}

TEST(SourceRegion, IsSafeForEveryCoefficient) {
    const Block output{{{{0, 100}, {5, 6}, {0, 1}, {0, 1}, {0, 1}}}};
    const Extents extents{1000, 10, 1, 1, 1};
    const auto columns = [&](double scale, double shift) {
        RegionMap map;
        map.matrix[0] = {scale, 0, 0, shift};
        return sourceRegion(output, map, {{0, 1}, {}, {}}, extents).columns();
    };
    const double rows[][4] = {{1, 0, 0, 101},      {1, -200, 0, 0},           {1, 5000, 1000, 1000},
                              {1e300, 0, 0, 1000}, {-1e300, 1e300, 0, 1000},  {1, 1e300, 1000, 1000},
                              {0.1, 0.95, 0, 12},  {1e-300, 999.5, 999, 1000}};
    for (const auto& [scale, shift, begin, end] : rows) {
        EXPECT_EQ(columns(scale, shift).begin, begin) << scale << " x + " << shift;
        EXPECT_EQ(columns(scale, shift).end, end) << scale << " x + " << shift;
    }
    EXPECT_THROW(columns(std::nan(""), 0), InvalidCall);
    EXPECT_THROW(columns(infinity, 0), InvalidCall);
    EXPECT_THROW(columns(1e308, 1e308), InvalidCall);
    constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();
    const Block all = sourceRegion(output, {}, {{huge, huge}, {huge, huge}, {}}, extents);
    EXPECT_EQ(all.columns().length(), 1000U);
    EXPECT_EQ(all.rows().length(), 10U);
    EXPECT_THROW(sourceRegion({}, {}, {}, extents), InvalidCall);
}

}  // namespace
}  // namespace rix::access
