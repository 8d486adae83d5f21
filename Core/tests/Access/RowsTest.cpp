// Typed rows: the same samples, whatever the storage.

#include <rix/access/Rows.h>
#include <rix/image/ImageModelFull3d.h>

#include "AccessTestTools.h"

namespace rix::access {
namespace {

using test::CopyOnly;
using test::imageOf;
using testing::HasSubstr;

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
