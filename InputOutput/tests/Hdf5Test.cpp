// Images in data sets of HDF5 files, by the component. What other programs write and read is with the tests in Python.

#include <rix/io/ChunkedFile.h>

#include "Failures.h"
#include "ZarrTools.h"

namespace rix::io::test {
namespace {

using rix::test::messageOf;
using testing::HasSubstr;

class Hdf5 : public testing::Test {
protected:
    std::filesystem::path at(const std::string& name) const { return m_folder / name; }

    TemporaryFolder m_folder;
};

TEST_F(Hdf5, KeepsTypesAxesAndCalibration) {
    unsigned seed = 0;
    for (const VoxelTypes type : {RIX_UINT8, RIX_UINT16, RIX_UINT32, RIX_INT8, RIX_INT16, RIX_INT32, RIX_FLOAT32,
                                  RIX_FLOAT64, RIX_COMPLEX_FLOAT32, RIX_COMPLEX_FLOAT64}) {
        for (const Extents& extents :
             {Extents{50, 37, 1, 1, 1}, Extents{1, 1, 1, 1, 1}, Extents{21, 50, 5, 1, 1}, Extents{9, 8, 3, 2, 2}}) {
            for (const Compression compression : {Compression::None, Compression::Deflate}) {
                MemoryImage image = randomImage(type, extents, ++seed);
                calibrateFully(image);
                WriteOptions options;
                options.compression = compression;
                options.tileColumns = 16;
                options.tileRows = 7;
                writeImage(at("a.h5:/raw/data"), image, options);
                EXPECT_EQ(difference(image, *readImage(at("a.h5:/raw/data"))), "") << seed;
                EXPECT_EQ(difference(image, *openImage(at("a.h5"))), "") << seed;
            }
        }
    }
}

TEST_F(Hdf5, IsWrittenChunkByChunk) {
    const MemoryImage image = randomImage(RIX_UINT16, {70, 50, 4, 1, 1});
    WriteOptions options;
    options.tileColumns = 32;
    options.tileRows = 16;
    const auto made = createImage(at("a.h5:/x"), options);
    ASSERT_TRUE(made->reserve(RIX_UINT16, 70, 50, 4, 1, 1));
    std::vector<std::uint8_t> row(140);
    for (std::size_t i = 0; i < 200; ++i) {
        ASSERT_TRUE(image.readRowAt(70, row.data(), 0, i % 50, i / 50, 0, 0));
        ASSERT_TRUE(made->writeRowAt(70, row.data(), 0, i % 50, i / 50, 0, 0));
    }
    EXPECT_FALSE(std::filesystem::exists(at("a.h5")));
    made->close();
    EXPECT_EQ(difference(image, *readImage(at("a.h5:/x"))), "");
    EXPECT_THAT(m_folder.names(), testing::ElementsAre("a.h5"));
}

TEST_F(Hdf5, FilesWithOtherDataStayAsTheyAre) {
    const MemoryImage image = randomImage(RIX_UINT8, {5, 4, 1, 1, 1});
    const MemoryImage other = randomImage(RIX_UINT8, {7, 4, 1, 1, 1});
    writeImage(at("a.h5:/x"), image);
    EXPECT_THAT(messageOf<WritingError>([&] { writeImage(at("a.h5:/y"), other); }),
                HasSubstr("another data set, '/x'"));
    EXPECT_EQ(difference(image, *readImage(at("a.h5"))), "");
    writeImage(at("a.h5:/x"), other);
    EXPECT_EQ(difference(other, *readImage(at("a.h5"))), "");
    EXPECT_EQ(fileOfImage(at("a.h5:/x")), at("a.h5"));
}

TEST_F(Hdf5, BadFilesAreRefusedByName) {
    writeImage(at("a.h5:/x"), randomImage(RIX_UINT8, {50, 40, 1, 1, 1}));
    EXPECT_THAT(messageOf<LoadingError>([&] { readImage(at("a.h5:/y")); }), HasSubstr("no data set '/y'"));
    EXPECT_THAT(messageOf<LoadingError>([&] { readImage(at("b.h5:/y")); }), HasSubstr("does not exist"));
    const auto size = std::filesystem::file_size(at("a.h5"));
    for (const auto kept : {size - 1, size / 2, std::uintmax_t{100}, std::uintmax_t{9}}) {
        std::filesystem::resize_file(at("a.h5"), kept);
        EXPECT_THAT(messageOf<LoadingError>([&] { readImage(at("a.h5:/x")); }), HasSubstr("cannot be opened ("))
            << kept;
    }
}

}  // namespace
}  // namespace rix::io::test
