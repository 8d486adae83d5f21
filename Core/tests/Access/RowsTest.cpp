// Typed rows: the same samples, whatever the storage.

#include <complex>
#include <limits>
#include <map>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <rix/access/Rows.h>
#include <rix/exceptions/Exception.h>
#include <rix/image/ImageModelFull3d.h>
#include <rix/image/MemoryImage.h>

#include "AccessTestTools.h"
#include "Failures.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::imageOf;
using testing::HasSubstr;

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
    const Plan plan = cutLines({&image}, 1.0);
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
    ASSERT_TRUE(cutLines({&image}, 1.0).rowsAreJoined());
    writeAndRead<std::int16_t>(image);
    writeAndRead<double>(image);
    const Plan plan = cutLines({&image}, 1.0);
    RawRowWriter writer(image, plan);
    std::memset(writer.open({{3}, 4}), 9, 8);
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
    const Plan plan = cutLines({&image}, 1.0);
    image.fails = true;
    RowReader<std::uint8_t> reader(image, plan);
    RowWriter<float> writer(image, plan);
    const RowSegment segment{1, 2, 0, 0, 0, 3};
    if (const auto error = test::failureOf<UnexpectedError>([&] { reader.read(segment); })) {
        EXPECT_EQ(error->getMessage(), "Error in readRowAt implementation, return value is false");
        EXPECT_THAT(error->getInfo(), HasSubstr("3 elements at column 1, row 2"));
    }
    writer.open(segment);
    EXPECT_THROW(writer.flush(), UnexpectedError);
    EXPECT_NO_THROW(writer.flush()) << "what failed once is not pending any more";
}

#ifndef NDEBUG
TEST(RowWriter, NoticesARowThatWasNeverFlushed) {
    io::MemoryImage image = test::imageOf(RIX_UINT8, {4, 4, 1, 1, 1});
    const RowSegment segment{0, 1, 0, 0, 0, 4};
    EXPECT_DEATH(RowWriter<std::uint8_t>(image).open(segment), "Assertion");
    EXPECT_DEATH(
        {
            RowWriter<std::uint8_t> writer(image);
            writer.open(segment);
            writer.open(segment);
        },
        "Assertion '!m_open' failed");
}
#endif

TEST(Rows, RefuseAnImageWithoutAType) {
    /// Says that its samples are of no type.
    class Typeless : public io::MemoryImage {
    public:
        VoxelTypes getVoxelType() const override { return static_cast<VoxelTypes>(3); }
    };
    Typeless image;
    EXPECT_THROW(RowReader<float>{image}, InvalidCall);
    EXPECT_THROW(RowWriter<float>{image}, InvalidCall);
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
