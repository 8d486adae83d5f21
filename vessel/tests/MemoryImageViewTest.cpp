#include <vessel/MemoryImageView.h>
#include <vessel/MemoryTensor.h>

#include <cstdint>
#include <limits>
#include <numeric>
#include <stdexcept>

#include <gtest/gtest.h>

namespace vessel {
namespace {

constexpr std::size_t huge = std::numeric_limits<std::size_t>::max();

/// Channels first, then columns, rows and time: an order of axes that is not the usual one.
MemoryImageView makeInterleaved() {
    return MemoryImageView(
        {SampleType::UINT16, ElementLayout::SCALAR},
        {{AxisName::CHANNEL, 3, {}}, {AxisName::COLUMN, 4, {}}, {AxisName::ROW, 5, {}}, {AxisName::TIME, 2, {}}});
}

std::uint16_t valueAt(std::size_t channel, std::size_t column, std::size_t row, std::size_t time) {
    return static_cast<std::uint16_t>(1000 * time + 100 * row + 10 * column + channel);
}

TEST(MemoryImageView, RegionsAreReadAndWrittenInTheOrderOfTheAxes) {
    MemoryImageView image = makeInterleaved();
    auto* const samples = reinterpret_cast<std::uint16_t*>(image.getBuffer());
    std::size_t offset = 0;
    for (std::size_t t = 0; t < 2; ++t) {
        for (std::size_t y = 0; y < 5; ++y) {
            for (std::size_t x = 0; x < 4; ++x) {
                for (std::size_t c = 0; c < 3; ++c) {
                    ASSERT_EQ(samples[offset], 0);
                    samples[offset++] = valueAt(c, x, y, t);
                }
            }
        }
    }

    const Region region{{1, 2, 3, 0}, {2, 2, 2, 2}};
    std::vector<std::uint16_t> values(16, 0xffff);
    ASSERT_TRUE(image.readRegion(region, reinterpret_cast<std::byte*>(values.data())));
    const std::vector<std::uint16_t> expected{321,  322,  331,  332,  421,  422,  431,  432,
                                              1321, 1322, 1331, 1332, 1421, 1422, 1431, 1432};
    EXPECT_EQ(values, expected);

    const std::vector<std::uint16_t> before(samples, samples + offset);
    std::iota(values.begin(), values.end(), std::uint16_t{7000});
    ASSERT_TRUE(image.writeRegion(region, reinterpret_cast<const std::byte*>(values.data())));
    std::size_t changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        changed += samples[i] != before[i];
    }
    EXPECT_EQ(changed, 16U);
    // Element (channel 2, column 3, row 4, time 1) is the last of the region.
    EXPECT_EQ(samples[((1 * 5 + 4) * 4 + 3) * 3 + 2], 7015);
}

TEST(MemoryImageView, RegionsOutsideAreRefused) {
    MemoryImageView image = makeInterleaved();
    std::vector<std::byte> buffer(3 * 4 * 5 * 2 * 2);
    const Region outside[] = {
        {{0, 0, 0, 0}, {4, 1, 1, 1}}, {{0, 3, 0, 0}, {1, 2, 1, 1}},    {{0, 0, 5, 0}, {1, 1, 1, 1}},
        {{0, 0, 0, 3}, {1, 1, 1, 0}}, {{0, 0, huge, 0}, {1, 1, 1, 1}}, {{0, 2, 0, 0}, {1, huge, 1, 1}},
    };
    for (const Region& region : outside) {
        EXPECT_FALSE(image.readRegion(region, buffer.data()));
        EXPECT_FALSE(image.writeRegion(region, buffer.data()));
    }
    EXPECT_TRUE(image.readRegion({{3, 4, 5, 2}, {0, 0, 0, 0}}, nullptr)) << "nothing to copy at the far corner";
    EXPECT_TRUE(image.readRegion({{0, 0, 0, 0}, {3, 4, 5, 2}}, buffer.data()));
}

TEST(MemoryImageView, RefusesShapesThatAreNone) {
    const ElementType type{SampleType::FLOAT64, ElementLayout::VECTOR_2};
    EXPECT_THROW(MemoryImageView(type, {{AxisName::ROW, 2, {}}, {AxisName::ROW, 2, {}}}), std::invalid_argument);
    EXPECT_THROW(MemoryImageView(type, {{AxisName::ROW, huge / 8, {}}}), std::length_error);
    EXPECT_THROW(MemoryImageView(type, {{AxisName::ROW, huge / 2, {}}, {AxisName::COLUMN, 3, {}}}), std::length_error);
    EXPECT_THROW(MemoryImageView(type, {{AxisName::ROW, 2, {}}}, nullptr), std::invalid_argument);

    MemoryImageView empty(type, {{AxisName::ROW, huge, {}}, {AxisName::COLUMN, huge, {}}, {AxisName::SLICE, 0, {}}});
    EXPECT_FALSE(empty.readRegion({{0, 0, 0}, {1, 1, 1}}, nullptr));
    EXPECT_THROW(MemoryTensor(SampleType::UINT16, {huge / 2, 2}), std::length_error);
    EXPECT_NE(MemoryTensor(SampleType::INT64, {2, 3}).getData(), nullptr);
}

TEST(MemoryImageView, SharesAForeignBufferAndKeepsItAlive) {
    auto values = std::make_shared<std::vector<std::uint8_t>>(std::vector<std::uint8_t>{1, 2, 3, 4});
    const std::weak_ptr<std::vector<std::uint8_t>> watch = values;
    {
        MemoryImageView image({}, {{AxisName::COLUMN, 4, {}}},
                              std::shared_ptr<std::byte>(values, reinterpret_cast<std::byte*>(values->data())));
        values.reset();
        ASSERT_FALSE(watch.expired());
        std::byte value{};
        ASSERT_TRUE(image.readRegion({{2}, {1}}, &value));
        EXPECT_EQ(value, std::byte{3});
    }
    EXPECT_TRUE(watch.expired());
}

}  // namespace
}  // namespace vessel
