// What all box filters promise beside the sums themselves: types, the same result on every path, runs in place,
// refusals.

#include <rix/filtering/smoothing/BoxFilterWorkType.h>
#include <rix/image/ImageModel3dWithFull2d.h>
#include <rix/image/ImageModelFull3d.h>

#include "BoxIntegerKernels.h"
#include "BoxPairKernels.h"
#include "BoxReference.h"
#include "BoxRuns.h"

namespace rix::test {
namespace {

using filtering::smoothing::BoxFilter2d;
using filtering::smoothing::BoxFilter3d;
using testing::HasSubstr;

TEST(BoxFilterWorkType, FollowsTheTableAtItsLimits) {
    struct Row {
        VoxelTypes in;
        std::uint64_t count;
        VoxelTypes out;
    };
    const Row rows[] = {
        {RIX_UINT8, 256, RIX_UINT16},      {RIX_UINT8, 257, RIX_INT32},       {RIX_UINT8, 8388608, RIX_INT32},
        {RIX_UINT8, 8388609, RIX_FLOAT32}, {RIX_INT8, 256, RIX_INT16},        {RIX_INT8, 257, RIX_INT32},
        {RIX_INT8, 16777216, RIX_INT32},   {RIX_INT8, 16777217, RIX_FLOAT32}, {RIX_UINT16, 1, RIX_INT32},
        {RIX_UINT16, 32768, RIX_INT32},    {RIX_UINT16, 32769, RIX_FLOAT32},  {RIX_INT16, 65536, RIX_INT32},
        {RIX_INT16, 65537, RIX_FLOAT32},   {RIX_UINT32, 1, RIX_FLOAT32},      {RIX_INT32, 1, RIX_FLOAT32},
        {RIX_FLOAT32, 1, RIX_FLOAT32},     {RIX_FLOAT64, 1, RIX_FLOAT64},     {RIX_FLOAT64, 1ULL << 60, RIX_FLOAT64},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(filtering::smoothing::computeWorkType(row.in, row.count), row.out) << row.in << ' ' << row.count;
    }
    // The count of a box has three factors, and none of its products may wrap.
    const io::MemoryImage input = makeRandomImage({.extents = {3, 2, 2, 1, 1}}, 1);
    EXPECT_EQ(runBox(input, {{16, 16, 1}, Result::Sum}).getVoxelType(), RIX_UINT16);
    EXPECT_EQ(runBox(input, {{257, 1, 1}, Result::Sum}).getVoxelType(), RIX_INT32);
    EXPECT_EQ(runBox(input, {{16, 16, 2}, Result::Sum, Dimension::Three}).getVoxelType(), RIX_INT32);
    EXPECT_EQ(runBox(input, {{1 << 30, 1 << 30, 1 << 30}, Result::Sum, Dimension::Three}).getVoxelType(), RIX_FLOAT32);
}

/// Divides totals by n in every way that n allows, on every level. The totals are both ends of the quotients `first` to
/// `first` + 255; between them nothing can be wrong, as every step of the division keeps the order of totals.
template <class Out>
void expectExactDivision(std::uint32_t n, std::uint32_t first, int sign) {
    using namespace filtering::smoothing;
    // Totals become column sums of windows of one, so that a row of them is a row of divisions.
    constexpr std::size_t count = 512;
    std::vector<std::uint32_t> memory(BoxQuads32::sizeFor(count + 1));
    const BoxQuads32 totals = BoxQuads32::over(memory.data(), BoxQuads32::strideFor(count + 1));
    const std::uint32_t largest =
        std::is_signed_v<Out> ? 0x80U << (8 * sizeof(Out) - 8) : std::numeric_limits<Out>::max();
    std::vector<Out> expected(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t q = first + static_cast<std::uint32_t>(i) / 2;
        const std::uint32_t total = i % 2 == 1 && q < largest ? q * n + n - 1 : q * n;
        totals[i] = sign < 0 ? 0U - total : total;
        expected[i] = static_cast<Out>(sign * static_cast<std::int32_t>(q));
    }
    const BoxDivider divider(n);
    std::vector<Out> quotients(count);
    for (const OptimLevelType level : runnableLevels()) {
        const BoxTotalRows<Out> rows = boxTotalRows<Out>(level);
        const struct {
            BoxTotalRow<Out> row;
            bool usable;
        } ways[] = {
            {rows.mean, true},
            {rows.floatMean, n <= BoxDivider::largestForFloat},
            {rows.byteMean, divider.quotientByte != 0},
        };
        for (const auto& way : ways) {
            if (way.row != nullptr && way.usable) {
                way.row(totals, count, 1, totals[0], quotients.data(), divider, BoxAhead{});
                ASSERT_EQ(quotients, expected) << "divided by " << n << ", level " << level;
            }
        }
    }
}

TEST(BoxDivision, OfBytesIsExactForEveryTotal) {
    using filtering::smoothing::BoxDivider;
    // Every divisor of the single precision division, and beyond them those of the other ways at their limits, of
    // squares and of a walk through the rest.
    std::vector<std::uint32_t> divisors;
    for (std::uint32_t n = 2; n <= 8421504; n += n < 30000 ? 1 : 997) {
        divisors.push_back(n);
    }
    for (std::uint32_t k = 163; k <= 2901; k += 2) {
        divisors.push_back(k * k);
    }
    for (const std::uint32_t n : {65535U, 65536U, 65537U, 65664U, 65665U, BoxDivider::largestForBytes - 1,
                                  BoxDivider::largestForBytes, BoxDivider::largestForBytes + 1, 8421504U}) {
        divisors.push_back(n);
    }
    Sampling sampling(7);
    for (const std::uint32_t n : divisors) {
        if (!sampling.takesNext()) {
            continue;
        }
        ASSERT_NO_FATAL_FAILURE(expectExactDivision<std::uint8_t>(n, 0, 1));
        if (n < 30000 || n % 16 == 1) {
            ASSERT_NO_FATAL_FAILURE(expectExactDivision<std::int8_t>(n, 0, 1));
            ASSERT_NO_FATAL_FAILURE(expectExactDivision<std::int8_t>(n, 0, -1));
        }
    }
}

TEST(BoxDivision, OfWordsIsExactForEveryTotal) {
    for (const std::uint32_t n :
         {2U, 3U, 7U, 9U, 25U, 225U, 256U, 257U, 2601U, 4095U, 10201U, 16384U, 30011U, 32749U, 32767U, 32768U}) {
        for (std::uint32_t first = 0; first < 65536; first += 256) {
            ASSERT_NO_FATAL_FAILURE(expectExactDivision<std::uint16_t>(n, first, 1));
            if (first < 32768) {
                ASSERT_NO_FATAL_FAILURE(expectExactDivision<std::int16_t>(n, first, 1));
                ASSERT_NO_FATAL_FAILURE(expectExactDivision<std::int16_t>(n, first, -1));
            }
        }
    }
}

TEST(BoxDivision, OfTotalsIn16BitsIsExactForEveryTotal) {
    using namespace filtering::smoothing;
    constexpr std::size_t count = 512;
    std::vector<std::uint16_t> memory(BoxPairs::sizeFor(count + 1));
    const BoxPairs totals = BoxPairs::over(memory.data(), BoxPairs::strideFor(count + 1));
    std::vector<std::uint8_t> expected(count);
    std::vector<std::uint8_t> quotients(count);
    for (std::uint32_t n = 2; n <= BoxPairDivider::largest; ++n) {
        // Both ends of every quotient; the last one has no more than 255 * n.
        for (std::uint32_t i = 0; i < count; ++i) {
            totals[i] = static_cast<std::uint16_t>(i / 2 * n + (i % 2 == 1 && i / 2 < 255 ? n - 1 : 0));
            expected[i] = static_cast<std::uint8_t>(i / 2);
        }
        for (const OptimLevelType level : runnableLevels()) {
            boxPairMeans(level, 1).row(totals, count, 1, totals[0], quotients.data(), BoxPairDivider(n), BoxAhead{});
            ASSERT_EQ(quotients, expected) << "divided by " << n << ", level " << level;
        }
    }
}

TEST(BoxFilter, GivesTheValuesOfItsDescription) {
    // A total of 2294 over 9 is truncated to 254; signed totals go toward zero.
    const auto at = [](int most, int one) {
        return [=](std::size_t x, std::size_t y, std::size_t, std::size_t, std::size_t) {
            return x == 1 && y == 1 ? one : most;
        };
    };
    const io::MemoryImage bytes = makeImage({.extents = {3, 3, 1, 1, 1}}, at(255, 254));
    EXPECT_EQ(volumeOf<std::uint8_t>(runBox(bytes, {{3, 3, 1}}), 0, 0)[4], 254);
    const io::MemoryImage minus = makeImage({.voxelType = RIX_INT8, .extents = {3, 3, 1, 1, 1}}, at(-1, 0));
    EXPECT_EQ(volumeOf<std::int8_t>(runBox(minus, {{3, 3, 1}}), 0, 0)[4], 0);

    // A window of four reaches one voxel further to the lower side.
    const io::MemoryImage bright =
        makeImage({.extents = {24, 24, 1, 1, 1}}, [](std::size_t x, std::size_t y, std::size_t, std::size_t,
                                                     std::size_t) { return x == 10 && y == 10 ? 16 : 0; });
    const auto sums = volumeOf<std::uint16_t>(runBox(bright, {{4, 4, 1}, Result::Sum}), 0, 0);
    for (std::size_t i = 0; i < sums.size(); ++i) {
        const bool touched = i % 24 >= 9 && i % 24 <= 12 && i / 24 >= 9 && i / 24 <= 12;
        ASSERT_EQ(sums[i], touched ? 16 : 0) << i % 24 << ", " << i / 24;
    }

    for (const VoxelTypes type : realTypes) {
        const io::MemoryImage input =
            makeRandomImage({.voxelType = type, .extents = {37, 9, 2, 1, 1}}, 4, Extremes::All);
        for (const OptimLevelType level : runnableLevels()) {
            EXPECT_TRUE(imagesEqual(input, runBox(input, {{1, 1, 1}}, {.level = level})));
            EXPECT_TRUE(
                imagesEqual(input, runBox(input, {{1, 1, 1}, Result::Mean, Dimension::Three}, {.level = level})));
        }
    }
}

/// The mean of a constant is the constant, however large the window: sums of 2^93 voxels neither overflow nor take
/// long.
TEST(BoxFilter, TakesTheLargestWindows) {
    constexpr std::size_t largest = std::numeric_limits<std::int32_t>::max();
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32, RIX_INT32, RIX_FLOAT32}) {
        const io::MemoryImage input =
            makeImage({.voxelType = type, .extents = {7, 5, 3, 1, 1}}, [](auto...) { return 117; });
        for (const OptimLevelType level : runnableLevels()) {
            EXPECT_TRUE(imagesEqual(
                input, runBox(input, {{largest, largest, largest}, Result::Mean, Dimension::Three}, {.level = level})));
        }
    }
    const io::MemoryImage binary =
        makeImage({.extents = {7, 5, 3, 1, 1}, .interpretation = RIX_BINARY}, [](auto...) { return 1; });
    const auto sums =
        volumeOf<float>(runBox(binary, {{largest, largest, largest}, Result::Sum, Dimension::Three}), 0, 0);
    EXPECT_THAT(sums, testing::Each(7 * 5 * 3));
}

/// NaN and infinities reach the windows that hold them and no other voxel, which keeps its bits.
TEST(BoxFilterOfReals, KeepsNotFiniteValuesInTheirWindows) {
    const std::array<std::size_t, 3> spots[] = {{0, 0, 0}, {30, 17, 9}, {69, 50, 11}};
    for (const VoxelTypes type : {RIX_FLOAT32, RIX_FLOAT64}) {
        const io::MemoryImage clean =
            makeRandomImage({.voxelType = type, .extents = {70, 51, 12, 1, 1}}, 12, Extremes::None);
        for (const double value : {std::nan(""), std::numeric_limits<double>::infinity()}) {
            io::MemoryImage spoiled = clean;
            const auto spoil = [&](auto sample) {
                for (const auto& spot : spots) {
                    ASSERT_TRUE(spoiled.writeRowAt(1, reinterpret_cast<ConstRawData>(&sample), spot[0], spot[1],
                                                   spot[2], 0, 0));
                }
            };
            type == RIX_FLOAT32 ? spoil(static_cast<float>(value)) : spoil(value);
            const io::MemoryImage marks =
                makeImage({.extents = {70, 51, 12, 1, 1}},
                          [&](std::size_t x, std::size_t y, std::size_t z, std::size_t, std::size_t) {
                              for (const auto& spot : spots) {
                                  if (spot == std::array<std::size_t, 3>{x, y, z}) {
                                      return 1;
                                  }
                              }
                              return 0;
                          });
            for (const BoxCase& c :
                 {BoxCase{{3, 5, 1}}, BoxCase{{21, 34, 1}}, BoxCase{{5, 9, 3}, Result::Mean, Dimension::Three},
                  BoxCase{{16, 12, 9}, Result::Sum, Dimension::Three}}) {
                BoxCase counting = c;
                counting.result = Result::Sum;
                io::MemoryImage hits = runBox(marks, counting);
                const io::MemoryImage expected = runBox(clean, c);
                for (const OptimLevelType level : runnableLevels()) {
                    const io::MemoryImage actual = runBox(spoiled, c, {.level = level});
                    access::dispatch(access::Floatings{}, type, access::Integers{}, hits.getVoxelType(),
                                     [&](auto real, auto integer) {
                                         const auto a = volumeOf<typename decltype(real)::type>(actual, 0, 0);
                                         const auto e = volumeOf<typename decltype(real)::type>(expected, 0, 0);
                                         const auto h = volumeOf<typename decltype(integer)::type>(hits, 0, 0);
                                         for (std::size_t i = 0; i < a.size(); ++i) {
                                             ASSERT_TRUE(h[i] != 0 ? !std::isfinite(a[i]) : a[i] == e[i])
                                                 << c << ", voxel " << i;
                                         }
                                     });
                }
            }
        }
    }
}

TEST(BoxFilter, BordersInPlaceByWhatTheInputMeant) {
    io::MemoryImage image =
        makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {60, 40, 9, 2, 1}, .interpretation = RIX_BINARY}, 5);
    const BoxCase box{{9, 3, 1}, Result::Sum, Dimension::Two};
    const io::MemoryImage expected = runBox(image, box);
    runBox(image, image, box, {.threads = 2});
    EXPECT_TRUE(imagesEqual(expected, image));
}

TEST(BoxFilter, TellsHowFarItReaches) {
    const io::MemoryImage input = makeRandomImage({.extents = {30, 20, 4, 1, 1}}, 1);
    BoxFilter3d algorithm;
    io::MemoryImage output;
    setSizes(algorithm, {{3, 4, 7}, Result::Sum, Dimension::Three});
    algorithm.setInputImage(&input);
    algorithm.setOutputImage(&output);
    EXPECT_EQ(algorithm.describe().borderInfluence, (BorderInfluence{{1, 2, 3}, {1, 1, 3}}));
}

}  // namespace
}  // namespace rix::test
