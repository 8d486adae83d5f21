// Box filters of reals: their error is bounded by what is in the window alone, whatever the image's size, and they are
// the same bit for bit on every path.

#include "BoxReference.h"
#include "BoxRuns.h"

namespace rix::test {
namespace {

/// Checks every result against the documented bound on the sum, then one division and one rounding to the type.
template <class T>
void expectWithinBound(const ImageModel& input, const BoxCase& c, const ImageModel& actual) {
    const bool zero = c.result == Result::Sum && input.getInterpretation() == RIX_BINARY;
    BoxReference box{c.size, zero ? Beyond::Zero : Beyond::Mirror};
    if (c.dimension == Dimension::Two) {
        box.size[2] = 1;
    }
    const auto n = helper::getExtents(input);
    const std::array<std::size_t, 3> shape{n[0], n[1], n[2]};
    const auto terms = static_cast<long double>(box.size[0] + box.size[1] + box.size[2]);
    const long double divisor = c.result == Result::Mean ? box.count() : 1.0L;
    for (std::size_t volume = 0; volume < n[3] * n[4]; ++volume) {
        const std::vector<T> samples = volumeOf<T>(input, volume % n[3], volume / n[3]);
        std::vector<long double> exact(samples.begin(), samples.end());
        std::vector<long double> magnitudes = exact;
        for (long double& m : magnitudes) {
            m = std::fabs(m);
        }
        exact = box.sumVolume(exact, shape);
        magnitudes = box.sumVolume(magnitudes, shape);
        const std::vector<T> results = volumeOf<T>(actual, volume % n[3], volume / n[3]);
        for (std::size_t i = 0; i < results.size(); ++i) {
            const long double expected = exact[i] / divisor;
            const long double bound = terms * 0x1p-53L * magnitudes[i] / divisor;
            // The division errs by at most one unit of double precision, the conversion by half a unit of the result.
            const long double rounding = std::fabs(expected) * (0x1p-52L + std::numeric_limits<T>::epsilon() / 2) +
                                         std::numeric_limits<T>::denorm_min();
            ASSERT_LE(std::fabs(results[i] - expected), bound + rounding)
                << c << " of " << helper::describeImage(input) << ", voxel " << i << ": " << results[i] << " for "
                << expected;
        }
    }
}

void expectDefinitionOfReals(const ImageModel& input, const BoxCase& c) {
    static Sampling sampling(5);
    if (!sampling.takesNext()) {
        return;
    }
    const io::MemoryImage scalar = runBox(input, c);
    ASSERT_EQ(scalar.getVoxelType(), input.getVoxelType());
    if (input.getVoxelType() == RIX_FLOAT32) {
        expectWithinBound<float>(input, c, scalar);
    } else {
        expectWithinBound<double>(input, c, scalar);
    }
    for (const OptimLevelType level : runnableLevels()) {
        ASSERT_TRUE(imagesEqual(scalar, runBox(input, c, {.level = level})))
            << c << " of " << helper::describeImage(input) << ", level " << level;
    }
}

TEST(BoxFilterOfReals, EqualsTheDefinitionForEverySizeAndLevel) {
    std::vector<std::array<std::size_t, 3>> sizes{{257, 1, 1}, {1, 257, 1}, {60, 51, 1},  {1000, 3, 1},
                                                  {4, 999, 1}, {15, 15, 3}, {16, 24, 17}, {23, 33, 9}};
    for (std::size_t k = 1; k <= 9; ++k) {
        sizes.push_back({k, (k * 4) % 9 + 1, (k * 7) % 9 + 1});
        sizes.push_back({k + 16, k + 8, k + 40});
    }
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        for (const Interpretations meaning : {RIX_VALUE, RIX_BINARY}) {
            const ImageTraits plane{.voxelType = type, .extents = {45, 37, 2, 1, 1}, .interpretation = meaning};
            const ImageTraits volume{.voxelType = type, .extents = {13, 11, 45, 2, 1}, .interpretation = meaning};
            const io::MemoryImage planes = makeRandomImage(plane, 5, Extremes::None);
            const io::MemoryImage volumes = makeRandomImage(volume, 6, Extremes::None);
            for (const auto& size : sizes) {
                for (const Result result : {Result::Sum, Result::Mean}) {
                    expectDefinitionOfReals(planes, {size, result, Dimension::Two});
                    expectDefinitionOfReals(volumes, {size, result, Dimension::Three});
                }
            }
        }
    }
}

TEST(BoxFilterOfReals, HandlesEveryWidthUpToSeveralVectors) {
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        for (std::size_t width = 1; width <= 40; ++width) {
            const io::MemoryImage input =
                makeRandomImage({.voxelType = type, .extents = {width, 3, 1, 1, 1}}, width, Extremes::None);
            for (const std::size_t k : {1U, 3U, 7U, 8U, 9U, 16U, 17U, 90U}) {
                expectDefinitionOfReals(input, {{k, 3, 1}, Result::Mean, Dimension::Two});
                expectDefinitionOfReals(input, {{3, k, k}, Result::Sum, Dimension::Three});
            }
        }
    }
}

TEST(BoxFilterOfReals, OverflowsToInfinityOnEveryLevel) {
    const io::MemoryImage image = makeImage({.voxelType = RIX_FLOAT32, .extents = {21, 9, 1, 1, 1}},
                                            [](auto...) { return std::numeric_limits<float>::max(); });
    const io::MemoryImage infinite = makeImage({.voxelType = RIX_FLOAT32, .extents = {21, 9, 1, 1, 1}},
                                               [](auto...) { return std::numeric_limits<float>::infinity(); });
    for (const OptimLevelType level : runnableLevels()) {
        EXPECT_TRUE(imagesEqual(infinite, runBox(image, {.size = {3, 3, 1}, .result = Result::Sum}, {.level = level})))
            << "level " << level;
    }
}

/// Sums of these samples are exact, and many of their means lie half way between two samples.
TEST(BoxFilterOfReals, RoundsMeansHalfWayBetweenTwoResultsToEven) {
    const io::MemoryImage input = makeRandomImage({.voxelType = RIX_UINT8, .extents = {60, 40, 1, 1, 1}}, 8);
    std::vector<float> samples;
    for (const std::uint8_t sample : volumeOf<std::uint8_t>(input, 0, 0)) {
        samples.push_back(16777214.0F + static_cast<float>(sample % 2));
    }
    const io::MemoryImage halves =
        makeImage({.voxelType = RIX_FLOAT32, .extents = {60, 40, 1, 1, 1}},
                  [&](std::size_t x, std::size_t y, auto...) { return samples[y * 60 + x]; });
    for (const std::array<std::size_t, 3>& size :
         std::initializer_list<std::array<std::size_t, 3>>{{14, 13, 1}, {15, 14, 1}, {18, 11, 1}, {16, 16, 1}}) {
        const BoxReference box{size, Beyond::Mirror};
        const std::vector<double> sums =
            box.sumVolume(std::vector<double>(samples.begin(), samples.end()), {60, 40, 1});
        std::vector<float> expected;
        for (const double sum : sums) {
            expected.push_back(static_cast<float>(sum / static_cast<double>(size[0] * size[1])));
        }
        for (const OptimLevelType level : runnableLevels()) {
            EXPECT_EQ(volumeOf<float>(runBox(halves, {size, Result::Mean}, {.level = level}), 0, 0), expected)
                << size[0] << " x " << size[1] << ", level " << level;
        }
    }
}

/// A value that dwarfs the others must leave no trace behind it: a sum that loses what it has added would.
TEST(BoxFilterOfReals, CarriesNoErrorAlongLongRows) {
    for (const bool alongRows : {true, false}) {
        const std::size_t length = 20011;
        const Extents extents = alongRows ? Extents{length, 2, 1, 1, 1} : Extents{2, length, 1, 1, 1};
        const auto value = [](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
            const std::size_t i = x + y;
            return i % 977 == 5 ? 1e30 : std::sin(static_cast<double>(i)) * 1e-3;
        };
        for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
            const io::MemoryImage input = makeImage({.voxelType = type, .extents = extents}, value);
            for (const std::size_t k : {3U, 15U, 101U, 301U}) {
                const BoxCase c{alongRows ? std::array<std::size_t, 3>{k, 1, 1} : std::array<std::size_t, 3>{1, k, 1},
                                Result::Mean, Dimension::Two};
                expectDefinitionOfReals(input, c);
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
