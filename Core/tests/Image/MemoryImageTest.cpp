#include <rix/image/ImageCalibration.h>

#include <sstream>

#include "ImageTestTools.h"

namespace rix {
namespace {

using io::MemoryImage;
using test::countedValue;
using test::Extents;
using test::huge;
using test::makeCounted;
using test::readRow;

TEST(MemoryImage, NewImageIsEmpty) {
    MemoryImage image;
    EXPECT_EQ(helper::describeImage(image), "(0, 0, 0, 0, 0, scalar, uint8, value)");
    EXPECT_EQ(ImageCalibration(image), ImageCalibration());
    EXPECT_EQ(image.getColorInterpretation(), UNKNOWN);
    EXPECT_EQ(image.getImageBuffer(), nullptr);
    EXPECT_EQ(image.getSpatialDirections(), vessel::SpatialDirections());
    EXPECT_EQ(image.getImageId(), "Image_" + std::to_string(reinterpret_cast<std::uintptr_t>(&image)));
    RawData row = nullptr;
    EXPECT_FALSE(image.getRowAt(0, row, 0, 0, 0, 0, 0));
}

// Every path of the addressing, every element, against the index counted by hand.
TEST(MemoryImage, AddressingOfAllShapes) {
    const Extents shapes[] = {{5, 4, 1, 1, 1}, {5, 4, 3, 1, 1}, {5, 4, 1, 2, 1}, {5, 4, 1, 1, 3},
                              {5, 4, 3, 2, 1}, {5, 4, 3, 2, 3}, {1, 1, 1, 1, 1}, {1, 7, 1, 1, 2}};
    for (const Extents& shape : shapes) {
        const MemoryImage image = makeCounted(shape);
        SCOPED_TRACE(helper::describeImage(image));
        test::forEachPosition(shape, [&](const Extents& p) {
            ASSERT_EQ(readRow(image, 1, p), std::vector{countedValue(shape, p)});
            ConstRawData row = nullptr;
            ASSERT_TRUE(image.getConstRowAt(shape[0] - p[0], row, p[0], p[1], p[2], p[3], p[4]));
            std::uint16_t value = 0;
            std::memcpy(&value, row, sizeof(value));
            ASSERT_EQ(value, countedValue(shape, p));
        });
        // One step beyond on every axis; near the end of the number range the sum must not wrap into the image.
        for (std::size_t axis = 0; axis < 5; ++axis) {
            for (const std::size_t position : {shape[axis], shape[axis] + 1, huge - 1, huge}) {
                Extents outside{};
                outside[axis] = position;
                EXPECT_TRUE(readRow(image, 1, outside).empty()) << axis << ": " << position;
            }
        }
        RawData row = nullptr;
        EXPECT_FALSE(image.getRowAt(shape[0] + 1, row, 0, 0, 0, 0, 0));
        EXPECT_FALSE(image.getRowAt(huge, row, 1, 0, 0, 0, 0));
        EXPECT_FALSE(image.getRowAt(2, row, huge, 0, 0, 0, 0));
        EXPECT_EQ(row, nullptr) << "a refused request leaves the row unchanged";
        EXPECT_TRUE(image.getRowAt(0, row, shape[0], 0, 0, 0, 0));
    }
}

TEST(MemoryImage, ReadAndWriteKeepToTheirRow) {
    const Extents shape{4, 3, 1, 1, 1};
    MemoryImage image = makeCounted(shape);
    std::vector<std::uint16_t> row{71, 72, 73};
    ASSERT_TRUE(image.writeRowAt(3, reinterpret_cast<ConstRawData>(row.data()), 1, 1, 0, 0, 0));
    EXPECT_EQ(readRow(image, 4, {0, 0, 0, 0, 0}), (std::vector<std::uint16_t>{1, 2, 3, 4}));
    EXPECT_EQ(readRow(image, 4, {0, 1, 0, 0, 0}), (std::vector<std::uint16_t>{5, 71, 72, 73}));
    EXPECT_EQ(readRow(image, 4, {0, 2, 0, 0, 0}), (std::vector<std::uint16_t>{9, 10, 11, 12}));

    std::vector<std::uint16_t> untouched(4, 7);
    EXPECT_FALSE(image.readRowAt(4, reinterpret_cast<RawData>(untouched.data()), 1, 0, 0, 0, 0));
    EXPECT_EQ(untouched, std::vector<std::uint16_t>(4, 7));
    EXPECT_FALSE(image.writeRowAt(4, reinterpret_cast<ConstRawData>(row.data()), 1, 0, 0, 0, 0));
}

TEST(MemoryImage, EmptyAxesHaveNoRows) {
    for (std::size_t axis = 0; axis < 5; ++axis) {
        MemoryImage image = makeCounted({4, 3, 2, 2, 2});
        const ConstRawData before = image.getImageBuffer();
        Extents shape{4, 3, 1, 1, 1};
        shape[axis] = 0;
        ASSERT_TRUE(image.reserve(RIX_UINT16, shape[0], shape[1], shape[2], shape[3], shape[4]));
        EXPECT_EQ(image.getImageBuffer(), before);
        RawData row = nullptr;
        EXPECT_FALSE(image.getRowAt(0, row, 0, 0, 0, 0, 0)) << axis;
        EXPECT_FALSE(image.getRowAt(1, row, 0, 0, 0, 0, 0)) << axis;
    }
    MemoryImage image;
    EXPECT_TRUE(image.reserve(RIX_UINT8, huge, huge, 0, huge, huge)) << "empty, however large the other axes are";
    RawData row = nullptr;
    EXPECT_FALSE(image.getRowAt(1, row, 0, 0, 0, 0, 0));
}

TEST(MemoryImage, ReuseKeepsBufferAndSamples) {
    MemoryImage image = makeCounted({100, 10, 1, 1, 1});
    const ConstRawData buffer = image.getImageBuffer();
    ASSERT_TRUE(image.reserve(RIX_UINT16, 50, 20, 1, 1, 1));
    EXPECT_EQ(image.getImageBuffer(), buffer);
    ASSERT_TRUE(image.reserve(VECTOR_3, RIX_UINT8, 3, 2, 1, 1, 1));
    EXPECT_EQ(image.getImageBuffer(), buffer);
    EXPECT_EQ(helper::getElementSize(image), 3U);
    ConstRawData row = nullptr;
    ASSERT_TRUE(image.getConstRowAt(1, row, 1, 1, 0, 0, 0));
    EXPECT_EQ(row, buffer + 4 * 3);
    ASSERT_TRUE(image.reserve(RIX_UINT16, 10, 10, 1, 1, 1));
    EXPECT_EQ(image.getElementType(), SINGLE);
    EXPECT_EQ(readRow(image, 3, {7, 9, 0, 0, 0}), (std::vector<std::uint16_t>{98, 99, 100}));
}

/// Counts its buffers; can refuse; keeps its samples in a place of its own.
class ForeignImage : public MemoryImage {
public:
    using MemoryImage::MemoryImage;
    ~ForeignImage() override { ForeignImage::freeInternalBuffer(); }
    void allocateInternalBuffer(std::size_t bytes) override {
        if (bytes > m_limit) {
            throw 42;  // whatever it is, it must not get out of reserve
        }
        ++m_allocations;
        m_rawData = new std::uint8_t[bytes];
    }
    void freeInternalBuffer() override {
        delete[] m_rawData;
        m_rawData = nullptr;
    }

    std::size_t m_limit = 1000;
    int m_allocations = 0;
};

TEST(MemoryImage, ExactSizeAllocatesEveryTime) {
    ForeignImage exact(true);
    ForeignImage lasting(false);
    for (const std::size_t columns : {100U, 100U, 50U, 0U}) {
        ASSERT_TRUE(exact.reserve(RIX_UINT8, columns, 1, 1, 1, 1));
        ASSERT_TRUE(lasting.reserve(RIX_UINT8, columns, 1, 1, 1, 1));
    }
    EXPECT_EQ(exact.m_allocations, 4);
    EXPECT_EQ(lasting.m_allocations, 1);
}

TEST(MemoryImage, FailedAllocationLeavesShapeButNoBuffer) {
    using Refused = bool (*)(ForeignImage&);
    const Refused refusals[] = {
        [](ForeignImage& image) { return image.reserve(RIX_FLOAT64, 126, 1, 1, 1, 1); },
        [](ForeignImage& image) { return image.reserve(RIX_FLOAT64, huge / 4, 1, 1, 1, 1); },
        [](ForeignImage& image) { return image.reserve(RIX_UINT8, std::size_t{1} << 32, 1, 1, 1, 1ULL << 32); },
        [](ForeignImage& image) { return image.reserve(MATRIX_3X3_SYM, RIX_UINT8, huge / 6 + 1, 1, 1, 1, 1); },
    };
    for (const Refused refused : refusals) {
        ForeignImage image;
        ASSERT_TRUE(image.reserve(VECTOR_2, RIX_UINT16, 10, 5, 1, 1, 1));
        EXPECT_FALSE(refused(image));
        EXPECT_EQ(helper::describeImage(image), "(10, 5, 1, 1, 1, 2-Vector, uint16, value)");
        EXPECT_EQ(image.getImageBuffer(), nullptr);
        RawData row = nullptr;
        EXPECT_FALSE(image.getRowAt(1, row, 0, 0, 0, 0, 0));
        EXPECT_FALSE(image.getRowAt(0, row, 0, 0, 0, 0, 0));
        std::uint8_t buffer[4] = {};
        EXPECT_FALSE(image.readRowAt(1, buffer, 0, 0, 0, 0, 0));

        const MemoryImage copy = image;
        EXPECT_EQ(helper::describeImage(copy), helper::describeImage(image));
        EXPECT_FALSE(copy.getRowAt(1, row, 0, 0, 0, 0, 0));

        // The recorded size is 0: the same shape allocates again.
        EXPECT_TRUE(image.reserve(VECTOR_2, RIX_UINT16, 10, 5, 1, 1, 1));
        EXPECT_EQ(image.m_allocations, 2);
        EXPECT_TRUE(image.getRowAt(10, row, 0, 4, 0, 0, 0));
    }
    MemoryImage image;
    EXPECT_FALSE(image.reserve(RIX_UINT8, std::size_t{1} << 50, 1, 1, 1, 1)) << "more than there can be";
    EXPECT_TRUE(image.reserve(RIX_UINT8, 10, 1, 1, 1, 1));
}

TEST(MemoryImage, CopiesCarryEverythingAndShareNothing) {
    MemoryImage image = makeCounted({6, 5, 2, 1, 2});
    test::setDistinctCalibration(image);
    image.setInterpretation(RIX_LABEL);
    image.setLabelScope(LabelScope::Plane);
    image.setColorInterpretation(HSL);
    const auto check = [&](const MemoryImage& copy) {
        EXPECT_TRUE(test::imagesEqual(image, copy));
        EXPECT_NE(copy.getImageBuffer(), image.getImageBuffer());
    };
    check(MemoryImage(image));
    MemoryImage assigned = makeCounted({2, 2, 1, 1, 1});
    assigned = image;
    check(assigned);
    const MemoryImage& alias = assigned;
    assigned = alias;
    check(assigned);
    ForeignImage foreign;
    static_cast<MemoryImage&>(foreign) = image;
    check(foreign);
    EXPECT_EQ(foreign.m_allocations, 1) << "an assignment fills the storage of the target";

    foreign.m_limit = 10;
    const MemoryImage larger = makeCounted({100, 100, 1, 1, 1});
    EXPECT_THROW(static_cast<MemoryImage&>(foreign) = larger, MemoryError);
    EXPECT_EQ(MemoryImage(MemoryImage()).getImageBuffer(), nullptr);
}

TEST(MemoryImage, InitKeepsTheBuffer) {
    MemoryImage image = makeCounted({6, 5, 1, 1, 1});
    const ConstRawData buffer = image.getInternalBuffer();
    test::setDistinctCalibration(image);
    image.setInterpretation(RIX_BINARY);
    image.Init();
    EXPECT_EQ(helper::describeImage(image), "(0, 0, 0, 0, 0, scalar, uint8, value)");
    EXPECT_EQ(ImageCalibration(image), ImageCalibration());
    EXPECT_EQ(image.getInternalBuffer(), buffer);
    ASSERT_TRUE(image.reserve(RIX_UINT16, 6, 5, 1, 1, 1));
    EXPECT_EQ(image.getInternalBuffer(), buffer);
}

TEST(MemoryImage, TracesWhatItTakesAndGivesBackInOneLineAnEvent) {
    constexpr const char* key = "RIX_MEMORY_IMAGE_CONSUMPTION_TRACE";
    const String before = globalSettings().getValue(key);
    globalSettings().setValueAsBool(key, true);
    testing::internal::CaptureStdout();
    std::optional<MemoryImage> image(false);
    std::ostringstream prefix;
    prefix << "MemoryImage(#" << std::hex << reinterpret_cast<std::uintptr_t>(&*image) << "): ";
    EXPECT_TRUE(image->reserve(VECTOR_2, RIX_FLOAT32, 10, 20, 1, 2, 1));
    EXPECT_TRUE(image->reserve(RIX_UINT8, 20, 1, 1, 1, 1)) << "which reuses the buffer silently";
    EXPECT_TRUE(image->reserve(RIX_UINT16, 2000, 1, 1, 1, 1));
    EXPECT_FALSE(image->reserve(RIX_UINT8, huge, 2, 1, 1, 1));
    image.reset();
    globalSettings().setValue(key, before);
    EXPECT_TRUE(MemoryImage(true).reserve(RIX_UINT8, 30, 1, 1, 1, 1));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              prefix.str() + "        3200\t(10, 20, 1, 2, 1, 2-Vector, float32)\n" + prefix.str() +
                  "         800\t(2000, 1, 1, 1, 1, scalar, uint16)\n" + prefix.str() + "-          0\n");
}

}  // namespace
}  // namespace rix
