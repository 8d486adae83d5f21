// Damaged and malicious folders: whatever is in them, an image or a LoadingError.

#include <rix/io/ChunkedFile.h>
#include <rix/settings/Settings.h>

#include "Sanitizers.h"
#include "Tally.h"
#include "ZarrTools.h"

namespace rix::io::test {
namespace {

using testing::HasSubstr;

class HostileZarr : public testing::Test {
protected:
    HostileZarr() { globalSettings().setValueAsSize_t(key, std::size_t{1} << 22U); }
    ~HostileZarr() override { globalSettings().remove(key); }

    /// True for an image, false for a LoadingError; anything else fails the test.
    bool survives(const std::string& what) const {
        rix::test::tally("damaged_files");
        try {
            const auto image = readImage(m_path);
            EXPECT_EQ(readImageInfo(m_path).extents, extentsOf(*image)) << what;
            return true;
        } catch (const LoadingError& error) {
            EXPECT_THAT(error.getLevels().back().message, HasSubstr(m_path.string())) << what;
        } catch (const std::exception& error) {
            ADD_FAILURE() << what << ": " << error.what();
        }
        return false;
    }

    static constexpr const char* key = "RIX_MAXIMUM_IMAGE_SIZE";
    TemporaryFolder m_folder;
    std::filesystem::path m_path = m_folder / "victim.zarr";
};

TEST_F(HostileZarr, ChangedBytesAndTruncatedFiles) {
    std::size_t images = 0;
    std::size_t errors = 0;
    for (const Compression compression :
         {Compression::FormatDefault, Compression::Deflate, Compression::Zstd, Compression::None}) {
        MemoryImage image = randomImage(RIX_UINT16, {40, 9, 2, 1, 1});
        std::fill_n(image.getInternalBuffer(), 700, std::uint8_t{3});  // or nothing is compressed
        std::filesystem::remove_all(m_path);
        writeImage(m_path, image, {.compression = compression, .tileColumns = 16, .tileRows = 9});
        const std::vector<std::string> files = filesIn(m_path);
        std::mt19937 random(20240117);
        const auto below = [&](std::size_t limit) { return random() % limit; };
        for (int round = 0; round < (rix::test::sanitized ? 200 : 1500); ++round) {
            const std::string& name = files[below(files.size())];
            const std::string sound = contentOf(m_path / name);
            std::string content = sound;
            if (round % 5 == 0) {
                content.resize(below(content.size()));
            }
            for (std::size_t change = 0; !content.empty() && change <= below(4); ++change) {
                const std::size_t at = below(content.size());
                const bool isDigit = content[at] >= '0' && content[at] <= '9' && name.find(".z") != std::string::npos;
                // Digits become others, so that the text stays JSON and the numbers are what is wrong.
                content[at] = isDigit ? static_cast<char>('0' + below(10))
                                      : static_cast<char>(static_cast<unsigned char>(content[at]) ^ (1U << below(8)));
            }
            putContent(m_path / name, content);
            (survives(name + " round " + std::to_string(round)) ? images : errors) += 1;
            putContent(m_path / name, sound);
        }
        ASSERT_TRUE(survives("the sound one"));
    }
    EXPECT_GT(images, 100U);
    EXPECT_GT(errors, 100U);
}

TEST_F(HostileZarr, PromisesThatNoMemoryIsGivenFor) {
    const auto refusal = [&](const RawZarr& array) {
        putInto(m_path / ".zarray", array.text());
        return textOf<LoadingError>([&] { readImage(m_path); });
    };
    const std::string huge = "18446744073709551615";
    EXPECT_THAT(refusal({.shape = "[" + huge + ", " + huge + "]", .chunks = "[1, 1]"}), HasSubstr("of them"));
    EXPECT_THAT(refusal({.shape = "[9, 9]", .chunks = "[" + huge + ", " + huge + "]"}), HasSubstr("promises chunks"));
    EXPECT_THAT(refusal({.shape = "[9, 9]", .chunks = "[65536, 65536]"}), HasSubstr("promises chunks"));
    EXPECT_THAT(refusal({.shape = "[9, 9]", .chunks = "[4096, 2048]"}), HasSubstr(key));
    EXPECT_THAT(refusal({.shape = "[4096, 2048]", .chunks = "[1024, 1024]"}), HasSubstr(key));
    EXPECT_NO_THROW(openImage(m_path)) << "on disk only chunks are limited";
    globalSettings().remove(key);
    EXPECT_THAT(refusal({.shape = "[1000000, 1000000, 4]", .chunks = "[1000, 1000, 4]"}), HasSubstr("of memory"));
    // Chunks that would unpack to more than the array says, or that are longer than they could be.
    const MemoryImage zeros = [] {
        MemoryImage image = randomImage(RIX_UINT8, {1000, 1000, 1, 1, 1});
        std::fill_n(image.getInternalBuffer(), 1000000, std::uint8_t{0});
        return image;
    }();
    for (const char* id : {"zlib", "zstd", "blosc"}) {
        std::filesystem::remove_all(m_path);
        const bool isZlib = std::string(id) == "zlib";
        writeImage(m_path, zeros,
                   {.compression = isZlib                      ? Compression::Deflate
                                   : std::string(id) == "zstd" ? Compression::Zstd
                                                               : Compression::FormatDefault,
                    .tileColumns = 1000,
                    .tileRows = 1000});
        const std::string bomb = contentOf(m_path / "0/0/0");
        std::filesystem::remove_all(m_path);
        putInto(m_path / "0.0", bomb);
        const std::string compressor = R"({"id": ")" + std::string(id) + R"("})";
        EXPECT_THAT(refusal({.compressor = compressor}), HasSubstr("unpack")) << id;
        putInto(m_path / ".zarray",
                RawZarr{.shape = "[1000, 1000]", .chunks = "[1000, 1000]", .compressor = compressor}.text());
        EXPECT_NO_THROW(readImage(m_path)) << id;
        putInto(m_path / "0.0", bomb + std::string(1U << 20U, 'x'));
        EXPECT_THAT(refusal({.compressor = compressor}), HasSubstr("larger")) << id;
        putInto(m_path / "0.0", "x");
        EXPECT_NE(refusal({.shape = "[9, 9]", .chunks = "[30000, 30000]", .compressor = compressor}), "") << id;
    }
    std::filesystem::remove(m_path / "0.0");
    std::filesystem::create_directories(m_path / "0.0");
    EXPECT_THAT(refusal({}), HasSubstr("folder"));
    putInto(m_path / ".zarray", std::string(100000, '['));
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }), HasSubstr("in each other"));
    const std::string deep = std::string(1000000, '[') + std::string(1000000, ']');
    for (const char* const entry : {"filters", "fill_value", "dimension_separator", "unknown"}) {
        putInto(m_path / ".zarray", RawZarr{.rest = ", \"" + std::string(entry) + "\": " + deep}.text());
        EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }), HasSubstr("in each other")) << entry;
    }
}

}  // namespace
}  // namespace rix::io::test
