// Plans of blocks and typed rows: every voxel once, whatever the cut; the same samples, whatever the storage.

#include <complex>
#include <limits>
#include <map>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/PointBlocks.h>
#include <rix/access/RawRows.h>
#include <rix/access/Rows.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/MemoryImage.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::imageOf;
using testing::HasSubstr;

TEST(Plan, CoversEveryVoxelOnceInEveryMode) {
    const std::array<std::size_t, 5> shapes[] = {{1, 1, 1, 1, 1},      {5, 3, 1, 1, 1},      {700, 900, 1, 1, 1},
                                                 {3, 70000, 1, 1, 1},  {300000, 2, 1, 1, 1}, {7, 5, 11, 3, 2},
                                                 {1000003, 1, 1, 1, 1}};
    for (const auto& n : shapes) {
        for (const bool joined : {true, false}) {
            const io::MemoryImage memory = imageOf(RIX_UINT8, n);
            CopyOnly copied;
            ASSERT_TRUE(copied.reserve(RIX_UINT8, n[0], n[1], n[2], n[3], n[4]));
            const ImageModel& image = joined ? static_cast<const ImageModel&>(memory) : copied;
            for (int mode = 0; mode < 4; ++mode) {
                const PointPlan plan({&image}, 1.0, static_cast<PartitionMode>(mode));
                EXPECT_EQ(plan.rowsAreJoined(), joined);
                std::vector<std::uint8_t> visits(n[0] * n[1] * n[2] * n[3] * n[4], 0);
                for (std::size_t b = 0; b < plan.blockCount(); ++b) {
                    plan.forEachSegment(plan.block(b), [&](const RowSegment& s) {
                        const std::size_t first =
                            (((s.spectral * n[3] + s.sequence) * n[2] + s.plane) * n[1] + s.row) * n[0] + s.column;
                        for (std::size_t i = 0; i < s.count; ++i) {
                            ++visits[first + i];
                        }
                    });
                }
                EXPECT_TRUE(std::all_of(visits.begin(), visits.end(), [](std::uint8_t v) { return v == 1; }))
                    << n[0] << 'x' << n[1] << " mode " << mode << " joined " << joined;
            }
        }
    }
}

TEST(Plan, ModesCutAsTheySay) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_FLOAT64, 200000, 40, 1, 1, 1));
    const PointPlan rowsOnly({&image}, 1.0, RIX_PARTITION_ONLY_ROWS);
    const PointPlan columnsOnly({&image}, 1.0, RIX_PARTITION_ONLY_COLUMNS);
    ASSERT_GT(rowsOnly.blockCount(), 1U);
    ASSERT_GT(columnsOnly.blockCount(), 1U);
    for (std::size_t b = 0; b < rowsOnly.blockCount(); ++b) {
        EXPECT_EQ(rowsOnly.block(b).lastColumn - rowsOnly.block(b).firstColumn, 200000U);
    }
    for (std::size_t b = 0; b < columnsOnly.blockCount(); ++b) {
        EXPECT_EQ(columnsOnly.block(b).lastLine - columnsOnly.block(b).firstLine, 40U);
    }
}

TEST(Plan, RefusesImagesOfDifferentSizes) {
    const io::MemoryImage a = imageOf(RIX_UINT8, {3, 2, 1, 1, 1});
    const io::MemoryImage b = imageOf(RIX_UINT8, {2, 3, 1, 1, 1});
    EXPECT_THROW(PointPlan({&a, &b}, 1.0), UnexpectedError);
}

TEST(PartOf, IsExhaustiveAtTheEndsOfTheRange) {
    const std::size_t huge = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(partOf(huge, 3, 0).begin, 0U);
    EXPECT_EQ(partOf(huge, 3, 0).end, partOf(huge, 3, 1).begin);
    EXPECT_EQ(partOf(huge, 3, 2).end, huge);
    EXPECT_EQ(partOf(7, 3, 0).end, 3U);
    EXPECT_EQ(partOf(7, 3, 2).begin, 5U);
}

TEST(Cast, FollowsTheRulesOfTheLibrary) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        double from;
        int u8;
        int i16;
        std::int32_t i32;
        std::uint32_t u32;
    };
    constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
    const Case cases[] = {
        {2.9, 2, 2, 2, 2},
        {-1.5, 255, -1, -1, 4294967295U},
        {300.7, 44, 300, 300, 300},
        {65536.0 * 40000, 0, 0, lowest, 2621440000U},
        {2147483647.5, 255, -1, 2147483647, 2147483647U},
        {-2147483648.9, 0, 0, lowest, 2147483648U},
        {4294967296.0 + 5, 0, 0, lowest, 5},
        {1e30, 0, 0, lowest, 0},
        {infinity, 0, 0, lowest, 0},
        {-infinity, 0, 0, lowest, 0},
        {nan, 0, 0, lowest, 0},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(castSample<std::uint8_t>(c.from), c.u8) << c.from;
        EXPECT_EQ(castSample<std::int16_t>(c.from), c.i16) << c.from;
        EXPECT_EQ(castSample<std::int32_t>(c.from), c.i32) << c.from;
        EXPECT_EQ(castSample<std::uint32_t>(c.from), c.u32) << c.from;
        EXPECT_EQ(castSample<std::uint8_t>(std::complex<double>(c.from, 9.0)), c.u8) << c.from;
    }
    EXPECT_EQ(castSample<std::int32_t>(-2147483648.0F), lowest);
    EXPECT_EQ(castSample<std::int32_t>(2147483648.0F), lowest);
    EXPECT_EQ(castSample<std::int8_t>(std::uint32_t{0x12345680}), -128);
    EXPECT_EQ(castSample<float>(std::int32_t{16777217}), 16777216.0F);
    EXPECT_EQ(castSample<std::complex<float>>(0.1), std::complex<float>(0.1F, 0.0F));
    EXPECT_EQ(castSample<std::complex<float>>(std::complex<double>(0.1, 0.2)), std::complex<float>(0.1F, 0.2F));
}

/// Writes 10 * row + column through a writer of type T and reads it back through a reader of type T.
template <class T>
void writeAndRead(ImageModel& image) {
    const PointPlan plan({&image}, 1.0);
    for (std::size_t b = 0; b < plan.blockCount(); ++b) {
        RowWriter<T> writer(image, plan);
        plan.forEachSegment(plan.block(b), [&](const RowSegment& s) {
            T* const row = writer.open(s);
            for (std::size_t i = 0; i < s.count; ++i) {
                const std::size_t voxel = s.column + i;
                row[i] = static_cast<T>(plan.rowsAreJoined() ? voxel / 5 * 10 + voxel % 5 : s.row * 10 + voxel);
            }
            writer.flush();
        });
    }
    RowReader<T> reader(image, plan);
    for (std::size_t b = 0; b < plan.blockCount(); ++b) {
        plan.forEachSegment(plan.block(b), [&](const RowSegment& s) {
            const T* const row = reader.read(s);
            for (std::size_t i = 0; i < s.count; ++i) {
                const std::size_t voxel = s.column + i;
                EXPECT_EQ(row[i],
                          static_cast<T>(plan.rowsAreJoined() ? voxel / 5 * 10 + voxel % 5 : s.row * 10 + voxel));
            }
        });
    }
}

TEST(Rows, AreTheSameInPlaceCopiedCastAndMisaligned) {
    for (const VoxelTypes type : {RIX_UINT8, RIX_INT16, RIX_UINT32, RIX_FLOAT32, RIX_FLOAT64, RIX_COMPLEX_FLOAT32}) {
        SCOPED_TRACE(helper::voxelTypesToString(type));
        io::MemoryImage memory = imageOf(type, {5, 4, 1, 1, 1});
        writeAndRead<std::uint8_t>(memory);
        writeAndRead<double>(memory);
        CopyOnly copied;
        ASSERT_TRUE(copied.reserve(type, 5, 4, 1, 1, 1));
        writeAndRead<float>(copied);
        writeAndRead<std::int32_t>(copied);

        /// Keeps its samples at an odd address, as a buffer of an application may.
        class Misaligned : public io::MemoryImage {
        public:
            ~Misaligned() override { freeInternalBuffer(); }
            void allocateInternalBuffer(std::size_t bytes) override {
                m_store.resize(bytes + 1);
                m_rawData = m_store.data() + 1;
            }
            void freeInternalBuffer() override { m_rawData = nullptr; }

        private:
            std::vector<std::uint8_t> m_store;
        };
        Misaligned misaligned;
        ASSERT_TRUE(misaligned.reserve(type, 5, 4, 1, 1, 1));
        writeAndRead<std::uint32_t>(misaligned);
        writeAndRead<float>(misaligned);
    }
}

TEST(Rows, AreWrittenOneByOneWhereOnlyReadingIsInOnePiece) {
    class OneWay : public CopyOnly {
    public:
        ConstRawData getImageBuffer() const override { return MemoryImage::getImageBuffer(); }
        RawData getImageBuffer() override { return nullptr; }
    };
    OneWay image;
    ASSERT_TRUE(image.reserve(RIX_INT16, 5, 3, 2, 2, 2));
    ASSERT_TRUE(PointPlan({&image}, 1.0).rowsAreJoined());
    writeAndRead<std::int16_t>(image);
    writeAndRead<double>(image);
    const PointPlan plan({&image}, 1.0);
    RawRowWriter writer(image, plan);
    std::memset(writer.open({.column = 3, .count = 4}), 9, 8);
    writer.flush();
    const auto* const samples = reinterpret_cast<const std::int16_t*>(std::as_const(image).getImageBuffer());
    EXPECT_EQ(samples[2], 2);
    EXPECT_EQ(samples[3], 0x0909);
    EXPECT_EQ(samples[6], 0x0909);
    EXPECT_EQ(samples[7], 12);
}

TEST(Rows, ReportAnImageThatRefuses) {
    CopyOnly image;
    ASSERT_TRUE(image.reserve(RIX_UINT8, 5, 4, 1, 1, 1));
    const PointPlan plan({&image}, 1.0);
    image.fails = true;
    RowReader<std::uint8_t> reader(image, plan);
    RowWriter<float> writer(image, plan);
    const RowSegment segment{1, 2, 0, 0, 0, 3};
    try {
        reader.read(segment);
        FAIL();
    } catch (const UnexpectedError& error) {
        EXPECT_EQ(error.getMessage(), "Error in readRowAt implementation, return value is false");
        EXPECT_THAT(error.getInfo(), HasSubstr("3 elements at column 1, row 2"));
    }
    writer.open(segment);
    EXPECT_THROW(writer.flush(), UnexpectedError);
    EXPECT_NO_THROW(writer.flush()) << "what failed once is not pending any more";
}

TEST(Scratch, SurvivesTheStoreOfItsThread) {
    struct Late {
        Scratch scratch;
        ~Late() { const Scratch another(100); }
    };
    std::thread([] {
        thread_local Late late;  // older than the store of the thread, so destroyed after it
        late.scratch = Scratch(5000);
    }).join();
}

}  // namespace
}  // namespace rix::access
