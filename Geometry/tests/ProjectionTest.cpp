// Projections against loops over the voxels of each line, in extended precision.

#include <rix/access/BlockSize.h>
#include <rix/access/VoxelTypeLists.h>
#include <rix/geometry/Projection.h>

#include "RunFilter.h"
#include "Testing.h"

namespace rix::test {
namespace {

using geometry::Projection;
using Line = std::vector<double>;

/// -0 below +0, NaN behind everything.
bool comesBefore(double a, double b) {
    if (std::isnan(a) || std::isnan(b)) {
        return !std::isnan(a) && std::isnan(b);
    }
    return a < b || (a == b && std::signbit(a) && !std::signbit(b));
}

double expectedOf(Projection::Statistic statistic, const Line& line) {
    Line sorted = line;
    std::stable_sort(sorted.begin(), sorted.end(), &comesBefore);
    const auto values = static_cast<std::size_t>(
        std::count_if(line.begin(), line.end(), [](double value) { return !std::isnan(value); }));
    const std::size_t n = line.size();
    long double sum = 0;
    for (const double value : line) {
        sum += value;
    }
    const long double mean = sum / static_cast<long double>(n);
    switch (statistic) {
        case Projection::MAXIMUM: return sorted[values > 0 ? values - 1 : 0];
        case Projection::MINIMUM: return sorted[0];
        case Projection::SUM: return static_cast<double>(sum);
        case Projection::MEAN: return static_cast<double>(mean);
        case Projection::MEDIAN: {
            const double low = sorted[(n - 1) / 2];
            const double high = sorted[n / 2];
            return comesBefore(low, high) ? low / 2 + high / 2 : low;
        }
        case Projection::STANDARD_DEVIATION: {
            long double squares = 0;
            for (const double value : line) {
                squares += (value - mean) * (value - mean);
            }
            return static_cast<double>(std::sqrt(squares / static_cast<long double>(n)));
        }
        default: {
            std::size_t largest = 0;
            for (std::size_t i = 1; i < n; ++i) {
                const bool isValue = !std::isnan(line[i]);
                largest = isValue && (std::isnan(line[largest]) || comesBefore(line[largest], line[i])) ? i : largest;
            }
            return static_cast<double>(largest);
        }
    }
}

bool isOfOrder(Projection::Statistic statistic) {
    return statistic != Projection::SUM && statistic != Projection::MEAN && statistic != Projection::STANDARD_DEVIATION;
}

void expectProjected(const io::MemoryImage& image, Projection::Axis axis, Projection::Statistic statistic) {
    Projection projection;
    projection.setAxis(axis);
    projection.setStatistic(statistic);
    const io::MemoryImage output = runFilter(projection, image);
    Extents extents = helper::getExtents(image);
    extents[static_cast<std::size_t>(axis)] = 1;
    ASSERT_EQ(helper::getExtents(output), extents);
    std::map<Extents, Line> lines;
    const auto samples = samplesOf<double>(image);
    double largest = 0;
    std::size_t next = 0;
    forEachPosition(helper::getExtents(image), [&](const Extents& p) {
        Extents place = p;
        place[static_cast<std::size_t>(axis)] = 0;
        lines[place].push_back(samples[next]);
        largest = std::max(largest, std::abs(samples[next++]));
    });
    const auto results = samplesOf<double>(output);
    const bool isFloat = output.getVoxelType() == RIX_FLOAT32;
    next = 0;
    forEachPosition(extents, [&](const Extents& p) {
        const double expected = expectedOf(statistic, lines.at(p));
        const double result = results[next++];
        if (isOfOrder(statistic)) {
            const double rounded = isFloat ? static_cast<double>(static_cast<float>(expected)) : expected;
            ASSERT_TRUE(std::isnan(rounded) ? std::isnan(result)
                                            : result == rounded && std::signbit(result) == std::signbit(rounded))
                << result << " instead of " << rounded;
        } else {
            const double n = static_cast<double>(lines.at(p).size());
            ASSERT_NEAR(result, expected, n * n * 0x1p-52 * largest + (isFloat ? 0x1p-24 * std::abs(expected) : 0.0));
        }
    });
}

TEST(Projection, IsItsDefinitionOnEveryTypeAndAxis) {
    for (const VoxelTypes type :
         {RIX_UINT8, RIX_INT8, RIX_UINT16, RIX_INT16, RIX_UINT32, RIX_INT32, RIX_FLOAT32, RIX_FLOAT64}) {
        const ImageTraits traits{.voxelType = type, .extents = {7, 6, 5, 4, 3}};
        const io::MemoryImage wild = makeRandomImage(traits, 7, Extremes::All);
        const io::MemoryImage tame = makeRandomImage(traits, 8, Extremes::None);
        for (int axis = 0; axis < 5; ++axis) {
            for (int i = 0; i <= Projection::INDEX_OF_MAXIMUM; ++i) {
                const auto statistic = static_cast<Projection::Statistic>(i);
                SCOPED_TRACE("type " + std::to_string(type) + ", axis " + std::to_string(axis) + ", statistic " +
                             std::to_string(i));
                const io::MemoryImage& image = isOfOrder(statistic) ? wild : tame;
                ASSERT_NO_FATAL_FAILURE(expectProjected(image, static_cast<Projection::Axis>(axis), statistic));
                const access::ScopedBlockBytes blocks(256);
                ASSERT_NO_FATAL_FAILURE(expectProjected(image, static_cast<Projection::Axis>(axis), statistic));
            }
        }
    }
}

TEST(Projection, TakesWideRowsAndTellsWhatItsResultsAre) {
    const io::MemoryImage wide = makeRandomImage({.voxelType = RIX_INT16, .extents = {2100, 3, 9, 1, 1}}, 9);
    for (const auto statistic : {Projection::MINIMUM, Projection::MEDIAN, Projection::SUM}) {
        ASSERT_NO_FATAL_FAILURE(expectProjected(wide, Projection::PLANS, statistic));
        ASSERT_NO_FATAL_FAILURE(expectProjected(wide, Projection::COLUMNS, statistic));
    }
    const io::MemoryImage binary = makeRandomImage({.extents = {9, 5, 4, 1, 1}, .interpretation = RIX_BINARY}, 4);
    Projection projection;
    EXPECT_EQ(runFilter(projection, binary).getInterpretation(), RIX_BINARY);
    projection.setStatistic(Projection::SUM);
    const io::MemoryImage counts = runFilter(projection, binary);
    EXPECT_EQ(counts.getInterpretation(), RIX_VALUE);
    EXPECT_EQ(counts.getVoxelType(), RIX_FLOAT64);
    // NaN spreads to what is made of all values.
    const io::MemoryImage nan =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {3, 1, 2, 1, 1}}, [](auto x, auto, auto z, auto...) {
            return x == 1 && z == 0 ? std::numeric_limits<float>::quiet_NaN() : 1.0F;
        });
    for (const auto statistic : {Projection::SUM, Projection::MEAN, Projection::STANDARD_DEVIATION}) {
        projection.setStatistic(statistic);
        const auto results = samplesOf<double>(runFilter(projection, nan));
        EXPECT_TRUE(!std::isnan(results[0]) && std::isnan(results[1]) && !std::isnan(results[2]));
    }
}

}  // namespace
}  // namespace rix::test
