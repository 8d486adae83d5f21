// The rows around the voxels of a block: every row as the border condition has it, in place where it can be.

#include <rix/access/BorderConditions.h>
#include <rix/access/ImageModelProxy.h>
#include <rix/access/WindowFilters.h>
#include <rix/image/ImageModelFull2d.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::Extents;
using test::sameSample;

Block blockOf(Interval columns, Interval rows, Interval planes, std::size_t sequence = 0, std::size_t spectral = 0) {
    return {{columns, rows, planes, {sequence, sequence + 1}, {spectral, spectral + 1}}};
}

/// Walks the blocks that cut `extents` at odd places, and compares every window of every voxel's row with what the
/// border condition says directly.
template <class T>
void compareCache(const ImageModel& image, const BorderCondition<T>& border, const Reach& reach) {
    const Extents n = helper::getExtents(image);
    const std::size_t samples = helper::getElementNumber(image.getElementType());
    const ImageModelProxy converted(&image, voxelTypeOf<T>);
    const auto signedOf = [](std::size_t value) { return static_cast<std::int64_t>(value); };
    for (std::size_t part = 0; part < 2 * 3 * 2 * n[3] * n[4]; ++part) {
        const Block block = blockOf(partOf(n[0], 2, part % 2), partOf(n[1], 3, part / 2 % 3),
                                    partOf(n[2], 2, part / 6 % 2), part / 12 % n[3], part / 12 / n[3]);
        WindowRows<T> cache(image, &border, block, reach);
        ASSERT_EQ(cache.samples(), samples);
        const std::size_t width = block.columns().length() + reach.columns.sum();
        std::vector<T> expected(width * samples);
        block.forEachRow([&](const Position& segment) {
            std::vector<const T*> rows;
            for (int pass = 0; pass < 2; ++pass) {  // all rows of a window are valid at the same time
                std::size_t next = 0;
                for (std::int64_t z = signedOf(segment.plane) - signedOf(reach.planes.before);
                     z <= signedOf(segment.plane + reach.planes.after); ++z) {
                    for (std::int64_t y = signedOf(segment.row) - signedOf(reach.rows.before);
                         y <= signedOf(segment.row + reach.rows.after); ++y) {
                        if (pass == 0) {
                            rows.push_back(cache.row(y, z));
                            continue;
                        }
                        border.getData(converted, expected.data(), expected.data() + expected.size(),
                                       signedOf(segment.column) - signedOf(reach.columns.before), y, z,
                                       signedOf(segment.sequence), signedOf(segment.spectral));
                        const T* const row = rows[next++] - reach.columns.before * samples;
                        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), row, &sameSample<T>))
                            << "row " << y << ", plane " << z << ", columns from " << segment.column;
                    }
                }
            }
        });
    }
}

TEST(WindowRows, GivesTheRowsOfTheBorderCondition) {
    const Reach reaches[] = {{}, reachOfWindow(4, 2, 3), reachOfWindow(1, 5, 1), reachOfWindow(30, 25, 9)};
    for (const ElementTypes elements : {SINGLE, VECTOR_2}) {
        const io::MemoryImage memory =
            test::makeRandomImage({.voxelType = RIX_UINT8, .extents = {11, 9, 4, 2, 2}, .elementType = elements}, 17);
        CopyOnly copied;
        ASSERT_NO_FATAL_FAILURE(test::copyInto(copied, memory));
        for (const Reach& reach : reaches) {
            for (const ImageModel* const image : std::initializer_list<const ImageModel*>{&memory, &copied}) {
                compareCache<std::uint8_t>(*image, *MirrorBorderCondition<std::uint8_t>::New(), reach);
                compareCache<float>(*image, *FixedBorderCondition<float>::New(-2.5F), reach);
            }
        }
    }
}

TEST(WindowRows, GivesTheImagesOwnMemoryWhereItCan) {
    const io::MemoryImage image = test::makeRandomImage({.voxelType = RIX_FLOAT32, .extents = {80, 40, 1, 1, 1}}, 1);
    const auto* const samples = reinterpret_cast<const float*>(image.getImageBuffer());
    const auto border = MirrorBorderCondition<float>::New();
    WindowRows<float> inner(image, border.get(), blockOf({10, 40}, {10, 30}, {0, 1}), reachOfWindow(5, 5, 1));
    EXPECT_EQ(inner.row(12, 0), samples + 12 * 80 + 10);
    WindowRows<float> columnsOnly(image, border.get(), blockOf({0, 80}, {0, 40}, {0, 1}), reachOfWindow(1, 5, 1));
    EXPECT_NE(columnsOnly.row(0, 0), samples) << "behind the last column a vector must be readable";
    EXPECT_EQ(columnsOnly.row(3, 0)[79], samples[3 * 80 + 79]);
    // A view takes a row outside for an error of the program: it must not even be asked for its address.
    const ImageModelFull2d view(&image, 0, 0, 0);
    WindowRows<float> ofView(view, border.get(), blockOf({0, 80}, {0, 40}, {0, 1}), reachOfWindow(1, 3, 1));
    EXPECT_EQ(ofView.row(-1, 0)[7], samples[7]);
    EXPECT_EQ(ofView.row(40, 0)[7], samples[39 * 80 + 7]);
}

TEST(WindowRows, AreTheImagesOwnMemoryBetweenTheEndsOfRows) {
    const io::MemoryImage image = test::makeRandomImage({.voxelType = RIX_UINT8, .extents = {1000, 9, 1, 1, 1}}, 1);
    const auto border = MirrorBorderCondition<std::uint8_t>::New();
    const Reach reach = reachOfWindow(7, 3, 1);
    const Block block = blockOf({0, 1000}, {0, 9}, {0, 1});
    const WindowSpans spans = spansOf(image, RIX_UINT8, block, reach);
    ASSERT_EQ(spans.count, 3U);
    EXPECT_EQ(spans.parts[0].columns().end, 3U);
    EXPECT_EQ(spans.parts[1].columns().end, 1000U - 3 - readableBytesBehindWindow);
    EXPECT_EQ(spans.parts[2].columns().end, 1000U);
    WindowRows<std::uint8_t> inside(image, border.get(), spans.parts[1], reach);
    EXPECT_EQ(inside.row(8, 0), image.getImageBuffer() + 8 * 1000 + 3);
    EXPECT_EQ(spansOf(image, RIX_FLOAT32, block, reach).count, 1U) << "rows are converted anyway";
    EXPECT_EQ(spansOf(image, RIX_UINT8, blockOf({100, 800}, {0, 9}, {0, 1}), reach).count, 1U);
    EXPECT_EQ(spansOf(image, RIX_UINT8, block, reachOfWindow(3000, 3, 1)).count, 1U);

    WindowRows<std::uint8_t> without(image, nullptr, block, reach);
    EXPECT_EQ(without.row(8, 0)[999], image.getImageBuffer()[8999]);
    EXPECT_THROW(without.row(9, 0), BadIndex);
    EXPECT_THROW(without.row(-1, 0), BadIndex);
}

TEST(WindowRows, ReportsFailuresAndRecovers) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_UINT8, 8, 8, 1, 1, 1));
    test::fillImage(image, [](std::size_t, std::size_t y, auto...) { return y; });
    const auto border = MirrorBorderCondition<std::uint8_t>::New();
    const Block block = blockOf({0, 8}, {2, 6}, {0, 1});
    WindowRows<std::uint8_t> cache(image, border.get(), block, reachOfWindow(3, 3, 1));
    EXPECT_EQ(cache.row(1, 0)[0], 1);
    EXPECT_EQ(cache.row(3, 0)[-1], 3);
    image.fails = true;
    EXPECT_THROW(cache.row(4, 0), UnexpectedError);
    EXPECT_EQ(cache.row(3, 0)[8], 3) << "held already";
    image.fails = false;
    const std::size_t reads = image.reads;
    EXPECT_EQ(cache.row(1, 0)[0], 1);
    EXPECT_EQ(image.reads, reads + 1) << "the row whose place the refused one was to take is not held any more";
    EXPECT_EQ(cache.row(4, 0)[0], 4);
    EXPECT_THROW(cache.row(0, 0), BadIndex);
    EXPECT_THROW(cache.row(7, 0), BadIndex);
    EXPECT_THROW(cache.row(3, 1), BadIndex);
    constexpr std::size_t huge = std::size_t{1} << 62;
    EXPECT_THROW(WindowRows<std::uint8_t>(image, border.get(), block, {{}, {huge, huge}, {}}), MemoryError);
    EXPECT_THROW(WindowRows<std::uint8_t>(image, border.get(), block, {{}, {}, {huge * 2, huge * 2}}), MemoryError);
    WindowRows<std::uint8_t> wide(image, border.get(), block, {{huge / 2, 0}, {}, {}});
    EXPECT_THROW(wide.row(3, 0), MemoryError);
}

}  // namespace
}  // namespace rix::access
