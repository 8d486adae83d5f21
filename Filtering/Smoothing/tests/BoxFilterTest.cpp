// Box filters of integers against the definition.

#include <rix/image/ImageModelFull2d.h>
#include <rix/image/ImageModelFull3d.h>

#include "BoxReference.h"
#include "BoxRuns.h"

namespace rix::test {
namespace {

io::MemoryImage reference(const ImageModel& input, const BoxCase& c, VoxelTypes outputType) {
    const bool zero = c.result == Result::Sum && input.getInterpretation() == RIX_BINARY;
    BoxReference box{c.size, zero ? Beyond::Zero : Beyond::Mirror};
    if (c.dimension == Dimension::Two) {
        box.size[2] = 1;
    }
    const auto n = helper::getExtents(input);
    io::MemoryImage result;
    result.enforceSameCharacteristics(&input, SIZE | CALIBRATION);
    EXPECT_TRUE(result.reserve(outputType, n[0], n[1], n[2], n[3], n[4]));
    result.setColorInterpretation(input.getColorInterpretation());
    result.setInterpretation(RIX_VALUE);
    access::dispatch(access::Integers{}, input.getVoxelType(), access::Reals{}, outputType, [&](auto in, auto out) {
        using T = typename decltype(in)::type;
        using Out = typename decltype(out)::type;
        for (std::size_t volume = 0; volume < n[3] * n[4]; ++volume) {
            const std::vector<T> samples = volumeOf<T>(input, volume % n[3], volume / n[3]);
            const auto sums =
                box.sumVolume(std::vector<std::int64_t>(samples.begin(), samples.end()), {n[0], n[1], n[2]});
            std::vector<Out> row(n[0]);
            for (std::size_t line = 0; line < n[1] * n[2]; ++line) {
                for (std::size_t x = 0; x < n[0]; ++x) {
                    const std::int64_t sum = sums[line * n[0] + x];
                    // Integer division truncates, which is the definition of the mean.
                    row[x] =
                        static_cast<Out>(c.result == Result::Mean ? sum / static_cast<std::int64_t>(box.count()) : sum);
                }
                EXPECT_TRUE(result.writeRowAt(n[0], reinterpret_cast<ConstRawData>(row.data()), 0, line % n[1],
                                              line / n[1], volume % n[3], volume / n[3]));
            }
        }
    });
    return result;
}

void expectDefinition(const ImageModel& input, const BoxCase& c) {
    static Sampling sampling(5);
    if (!sampling.takesNext()) {
        return;
    }
    io::MemoryImage expected;
    for (const OptimLevelType level : runnableLevels()) {
        const io::MemoryImage actual = runBox(input, c, {.level = level});
        if (level == SCALAR) {
            expected = reference(input, c, actual.getVoxelType());
        }
        ASSERT_TRUE(imagesEqual(expected, actual))
            << c << " of " << helper::describeImage(input) << ", level " << level;
    }
}

TEST(BoxFilter2d, EqualsTheDefinitionForEveryIntegerTypeSizeAndLevel) {
    std::vector<std::array<std::size_t, 3>> sizes{{257, 1, 1}, {1, 257, 1}, {60, 51, 1}, {1000, 3, 1},
                                                  {4, 999, 1}, {16, 16, 1}, {43, 6, 1},  {2, 129, 1}};
    for (std::size_t k = 1; k <= 9; ++k) {
        sizes.push_back({k, (k * 4) % 9 + 1, 1});
        sizes.push_back({k, k, 1});
    }
    for (const VoxelTypes type : integerTypes) {
        for (const Interpretations meaning : {RIX_VALUE, RIX_BINARY}) {
            const io::MemoryImage input =
                makeRandomImage({.voxelType = type, .extents = {45, 21, 2, 1, 1}, .interpretation = meaning}, 7);
            for (const auto& size : sizes) {
                for (const Result result : {Result::Sum, Result::Mean}) {
                    expectDefinition(input, {size, result, Dimension::Two});
                }
            }
        }
    }
}

TEST(BoxFilter3d, EqualsTheDefinitionForEveryIntegerTypeSizeAndLevel) {
    const std::array<std::size_t, 3> sizes[] = {{1, 1, 1}, {1, 1, 2}, {3, 3, 3},  {2, 4, 5},    {5, 3, 7},
                                                {4, 1, 9}, {1, 2, 8}, {9, 9, 15}, {40, 30, 31}, {3, 50, 64},
                                                {6, 6, 7}, {4, 8, 8}, {5, 5, 5},  {3, 17, 5}};
    for (const VoxelTypes type : integerTypes) {
        for (const Interpretations meaning : {RIX_LABEL, RIX_BINARY}) {
            const io::MemoryImage input =
                makeRandomImage({.voxelType = type, .extents = {19, 11, 13, 2, 1}, .interpretation = meaning}, 9);
            for (const auto& size : sizes) {
                for (const Result result : {Result::Sum, Result::Mean}) {
                    expectDefinition(input, {size, result, Dimension::Three});
                }
            }
        }
    }
}

TEST(BoxFilter2d, HandlesEveryWidthUpToSeveralVectors) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16}) {
        for (std::size_t width = 1; width <= 140; ++width) {
            const io::MemoryImage input = makeRandomImage({.voxelType = type, .extents = {width, 3, 1, 1, 1}}, width);
            for (const std::size_t k : {1U, 3U, 4U, 5U, 7U, 11U, 17U, 80U, 150U, 401U}) {
                expectDefinition(input, {{k, 3, 1}, Result::Mean, Dimension::Two});
                expectDefinition(input, {{k, 2, 1}, Result::Sum, Dimension::Two});
            }
        }
    }
}

TEST(BoxFilter3d, HandlesImagesOfOneVoxelPlaneRowAndColumn) {
    for (const Extents& extents :
         {Extents{1, 1, 1, 1, 1}, Extents{9, 7, 1, 1, 1}, Extents{9, 1, 6, 1, 1}, Extents{1, 7, 6, 1, 2}}) {
        for (const Interpretations meaning : {RIX_VALUE, RIX_BINARY}) {
            const io::MemoryImage input =
                makeRandomImage({.voxelType = RIX_INT8, .extents = extents, .interpretation = meaning}, 3);
            for (const std::size_t k : {1U, 2U, 5U, 8U, 33U}) {
                for (const Result result : {Result::Sum, Result::Mean}) {
                    expectDefinition(input, {{k, k, k}, result, Dimension::Three});
                }
            }
        }
    }
}

}  // namespace
}  // namespace rix::test
