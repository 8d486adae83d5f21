// Damaged and malicious files: whatever the bytes, an image or a LoadingError, and nothing on standard error.

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "RawTiff.h"
#include "Tally.h"
#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::HasSubstr;

/// A sound file.
struct Sample {
    std::string name;
    std::string content;
};

std::string written(const char* name, const MemoryImage& image, const WriteOptions& options = {}) {
    const TemporaryFolder folder;
    writeImage(folder / name, image, options);
    return contentOf(folder / name);
}

std::string rawTiff(const std::function<void(RawTiff&)>& write, const char* mode = "w") {
    const TemporaryFolder folder;
    {
        RawTiff raw(folder / "raw.tif", mode);
        write(raw);
    }
    return contentOf(folder / "raw.tif");
}

MemoryImage colorImage(const Extents& extents) {
    MemoryImage image = randomImage(RIX_UINT8, extents);
    image.setColorInterpretation(RGB);
    return image;
}

const std::vector<Sample>& samples() {
    static const std::vector<Sample> all = [] {
        const MemoryImage stack = randomImage(RIX_UINT16, {9, 7, 2, 2, 1});
        std::vector<Sample> list;
        list.push_back({"plain stack", written("a.tif", stack)});
        list.push_back({"LZW", written("a.tif", stack, {.compression = Compression::Lzw})});
        list.push_back({"deflate", written("a.tif", stack, {.compression = Compression::Deflate})});
        list.push_back({"tiles", written("a.tif", colorImage({20, 18, 1, 1, 3}),
                                         {.compression = Compression::Lzw, .tileColumns = 16, .tileRows = 16})});
        list.push_back({"BigTIFF", written("a.tif", stack, {.bigTiff = BigTiff::Always})});
        list.push_back({"palette, big-endian", rawTiff(
                                                   [](RawTiff& raw) {
                                                       std::vector<std::uint16_t> map(16, 257);
                                                       raw.page(9, 3, 4, 1, PHOTOMETRIC_PALETTE)
                                                           .set(TIFFTAG_COLORMAP, map.data(), map.data(), map.data())
                                                           .block(0, std::vector<std::uint8_t>(15, 0x5A));
                                                   },
                                                   "wb")});
        for (const auto& [name, compression] :
             {std::pair{"PackBits", COMPRESSION_PACKBITS}, std::pair{"Zstandard", COMPRESSION_ZSTD},
              std::pair{"LZMA", COMPRESSION_LZMA}}) {
            list.push_back(
                {name, rawTiff([c = compression](RawTiff& raw) {
                     raw.page(20, 5, 8).set(TIFFTAG_COMPRESSION, c).block(0, std::vector<std::uint8_t>(100, 3));
                 })});
        }
        list.push_back({"JPEG", rawTiff([](RawTiff& raw) {
                            raw.page(16, 16, 8, 3, PHOTOMETRIC_YCBCR)
                                .set(TIFFTAG_COMPRESSION, COMPRESSION_JPEG)
                                .set(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB)
                                .block(0, std::vector<std::uint8_t>(768, 77));
                        })});
        list.push_back({"fax", rawTiff([](RawTiff& raw) {
                            raw.page(40, 6, 1, 1, PHOTOMETRIC_MINISWHITE)
                                .set(TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4)
                                .block(0, std::vector<std::uint8_t>(30, 0x3C));
                        })});
        list.push_back({"OME-TIFF", written("a.ome.tif", stack)});
        list.push_back({"PNG", written("a.png", randomImage(RIX_UINT16, {9, 7, 1, 1, 1}))});
        for (const char* name : {"a.nrrd", "a.mha", "a.nii", "a.nii.gz"}) {
            list.push_back({name, written(name, stack)});
        }
        for (const char* name : {"a.nrrd", "a.mha"}) {
            list.push_back({name, written(name, stack, {.compression = Compression::Deflate})});
        }
        list.push_back({"NumPy", written("a.npy", randomImage(RIX_FLOAT32, {9, 7, 2, 1, 1}))});
        list.push_back({"PPM", written("a.ppm", colorImage({9, 7, 1, 1, 3}))});
        MemoryImage binary = randomImage(RIX_UINT8, {19, 7, 1, 1, 1});
        interpret(binary, RIX_BINARY);
        list.push_back({"PBM", written("a.pbm", binary)});
        list.push_back({"BMP", written("a.bmp", colorImage({9, 7, 1, 1, 3}))});
        list.push_back({"BMP of bits", written("a.bmp", binary)});
        list.push_back({"JPEG file", written("a.jpg", colorImage({20, 18, 1, 1, 3}))});
        list.push_back({"PNG of colours", written("a.png", colorImage({9, 7, 1, 1, 4}))});
        return list;
    }();
    return all;
}

/// Lets this process allocate only so much more. Sanitizers reserve terabytes for themselves: nothing with them.
class ScarceMemory {
public:
    explicit ScarceMemory([[maybe_unused]] rlim_t bytes) {
        ::getrlimit(RLIMIT_AS, &m_old);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        std::ifstream stream("/proc/self/statm");
        rlim_t pages = 0;
        stream >> pages;
        rlimit limit = m_old;
        limit.rlim_cur = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + bytes;
        ::setrlimit(RLIMIT_AS, &limit);
#endif
    }
    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;
    ~ScarceMemory() { ::setrlimit(RLIMIT_AS, &m_old); }

private:
    rlimit m_old{};
};

constexpr rlim_t MiB = 1 << 20;

/// Reads a file of these bytes. True for an image, false for a LoadingError; anything else fails the test.
class Victim {
public:
    bool survives(const std::string& content, const std::string& what) {
        putContent(m_path, content);
        rix::test::tally("damaged_files");
        bool read = false;
        try {
            const auto image = readImage(m_path);
            read = true;
            const ImageFileInfo info = readImageInfo(m_path);
            EXPECT_EQ(info.extents, extentsOf(*image)) << what;
        } catch (const LoadingError& error) {
            EXPECT_EQ(error.getLevels().size(), 2U) << what;
            EXPECT_THAT(error.getLevels().back().message, HasSubstr(m_path.string())) << what;
            m_lastText = error.what();
        } catch (const std::exception& error) {
            ADD_FAILURE() << what << ": " << error.what();
        }
        return read;
    }
    const std::string& lastText() const { return m_lastText; }
    const std::filesystem::path& path() const { return m_path; }

private:
    TemporaryFolder m_folder;
    std::filesystem::path m_path = m_folder / "victim";
    std::string m_lastText;
};

TEST(HostileFiles, TruncatedAnywhere) {
    Victim victim;
    testing::internal::CaptureStderr();
    for (const Sample& sample : samples()) {
        ASSERT_TRUE(victim.survives(sample.content, sample.name)) << victim.lastText();
        for (std::size_t length = 0; length < sample.content.size(); length += rix::test::sanitized ? 5 : 1) {
            EXPECT_FALSE(victim.survives(sample.content.substr(0, length), sample.name))
                << sample.name << " with " << length << " of " << sample.content.size() << " bytes";
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(HostileFiles, FlippedBitsAndOverwrittenBytes) {
    Victim victim;
    testing::internal::CaptureStderr();
    std::size_t images = 0;
    std::size_t errors = 0;
    // The samples have up to 5 KB. Zstandard's factor on 300 bytes is the most that one may ask for.
    const auto& all = samples();
    const ScarceMemory scarce(64 * MiB);
    for (const Sample& sample : all) {
        std::mt19937 random(20240117);
        const auto below = [&](std::size_t limit) { return random() % limit; };
        for (int round = 0; round < (rix::test::sanitized ? 150 : 1500); ++round) {
            std::string content = sample.content;
            // One flip finds what checks single fields; several bytes of extremes find sums and products of them.
            for (std::size_t change = 0; change <= below(4); ++change) {
                const std::size_t at = below(content.size());
                if (round % 3 == 0) {
                    content[at] = static_cast<char>(below(2) == 0 ? 0xFF : 0x00);
                } else {
                    content[at] = static_cast<char>(static_cast<unsigned char>(content[at]) ^ (1U << below(8)));
                }
            }
            (victim.survives(content, sample.name + " round " + std::to_string(round)) ? images : errors) += 1;
        }
        // Every bit of the header once.
        for (std::size_t bit = 0; bit < 8 * std::min<std::size_t>(sample.content.size(), 64); ++bit) {
            std::string content = sample.content;
            content[bit / 8] = static_cast<char>(static_cast<unsigned char>(content[bit / 8]) ^ (1U << (bit % 8)));
            (victim.survives(content, sample.name + " bit " + std::to_string(bit)) ? images : errors) += 1;
        }
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    // Both must have happened often, or the damage tests nothing.
    EXPECT_GT(images, rix::test::sanitized ? 300U : 1000U);
    EXPECT_GT(errors, rix::test::sanitized ? 1500U : 5000U);
}

/// The bytes of a TIFF file put together by hand, little-endian, its directories one after the other.
class TiffBytes {
public:
    struct Field {
        std::uint32_t tag;
        std::uint32_t value;
        std::uint32_t type = TIFF_LONG;
        std::uint32_t count = 1;
    };

    void directory(const std::vector<Field>& fields) {
        put(fields.size(), 2);
        for (const Field& field : fields) {
            put(field.tag, 2);
            put(field.type, 2);
            put(field.count, 4);
            put(field.value, 4);
        }
        put(content.size() + 4, 4);  // the next one follows
    }

    /// Ends the last directory and fills up with zeros.
    std::string end(std::size_t padding = 64) {
        content.replace(content.size() - 4, 4, 4, '\0');
        return content + std::string(padding, '\0');
    }

    std::string content = std::string("II\x2A\0\x08\0\0\0", 8);

private:
    void put(std::uint64_t value, unsigned bytes) {
        for (unsigned i = 0; i < bytes; ++i) {
            content += static_cast<char>(static_cast<std::uint8_t>(value >> (8 * i)));
        }
    }
};

std::string tiffOfFields(const std::vector<TiffBytes::Field>& fields) {
    TiffBytes bytes;
    bytes.directory(fields);
    return bytes.end();
}

TEST(HostileFiles, HugePromisesAreRefusedBeforeAllocation) {
    const std::uint32_t large = 1U << 30U;
    struct Case {
        const char* name;
        std::string content;
    };
    std::vector<Case> cases;
    for (const std::uint32_t compression : std::initializer_list<std::uint32_t>{
             COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_PACKBITS, COMPRESSION_ZSTD}) {
        cases.push_back({"2^60 pixels", tiffOfFields({{TIFFTAG_IMAGEWIDTH, large},
                                                      {TIFFTAG_IMAGELENGTH, large},
                                                      {TIFFTAG_BITSPERSAMPLE, 8},
                                                      {TIFFTAG_COMPRESSION, compression},
                                                      {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                                      {TIFFTAG_STRIPOFFSETS, 8},
                                                      {TIFFTAG_SAMPLESPERPIXEL, 1},
                                                      {TIFFTAG_ROWSPERSTRIP, large},
                                                      {TIFFTAG_STRIPBYTECOUNTS, 64}})});
        cases.push_back({"1 GiB in a row", tiffOfFields({{TIFFTAG_IMAGEWIDTH, large},
                                                         {TIFFTAG_IMAGELENGTH, 1},
                                                         {TIFFTAG_BITSPERSAMPLE, 8},
                                                         {TIFFTAG_COMPRESSION, compression},
                                                         {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                                         {TIFFTAG_STRIPOFFSETS, 8},
                                                         {TIFFTAG_SAMPLESPERPIXEL, 1},
                                                         {TIFFTAG_STRIPBYTECOUNTS, 64}})});
        cases.push_back({"a huge tile", tiffOfFields({{TIFFTAG_IMAGEWIDTH, 16},
                                                      {TIFFTAG_IMAGELENGTH, 16},
                                                      {TIFFTAG_BITSPERSAMPLE, 8},
                                                      {TIFFTAG_COMPRESSION, compression},
                                                      {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                                      {TIFFTAG_SAMPLESPERPIXEL, 1},
                                                      {TIFFTAG_TILEWIDTH, large},
                                                      {TIFFTAG_TILELENGTH, 16},
                                                      {TIFFTAG_TILEOFFSETS, 8},
                                                      {TIFFTAG_TILEBYTECOUNTS, 64}})});
    }
    // The header of a PNG file with its checksum wouldn't pass by hand: a sound file is taken, of one black pixel a
    // row, its samples cut; libpng has checked and told the sizes by then.
    MemoryImage wide;
    ASSERT_TRUE(wide.reserve(RIX_UINT8, 4000000, 1, 1, 1, 1));
    std::memset(wide.getInternalBuffer(), 0, 4000000);
    const std::string png = written("a.png", wide);
    cases.push_back({"a wide PNG", png.substr(0, png.find("IDAT") - 4) + std::string("\0\0\0\x28", 4) + "IDAT" +
                                       std::string(44, 'a')});

    Victim victim;
    const ScarceMemory scarce(16 * MiB);
    for (const Case& c : cases) {
        EXPECT_FALSE(victim.survives(c.content, c.name)) << c.name;
        EXPECT_THAT(victim.lastText(), HasSubstr("The header promises")) << c.name;
    }
}

// libpng makes room for the length that a chunk names, and fills it, before it sees that the file ends.
TEST(HostileFiles, ChunksLongerThanTheFile) {
    const std::string png = written("a.png", randomImage(RIX_UINT8, {2, 2, 1, 1, 1}));
    constexpr std::size_t headerEnd = 33;  // signature and IHDR
    Victim victim;
    const ScarceMemory scarce(16 * MiB);
    for (const char* name : {"tEXt", "zTXt", "iTXt", "iCCP", "sCAL", "pCAL", "eXIf", "tRNS", "IDAT", "abCd"}) {
        for (const std::string& length :
             {std::string("\x7F\xFF\xFF\xFF"), std::string("\xFF\xFF\xFF\xFF"), std::string("\0\0\x10\0", 4)}) {
            EXPECT_FALSE(victim.survives(png.substr(0, headerEnd) + length + name + std::string(19, 'a'), name));
            EXPECT_THAT(victim.lastText(), HasSubstr("The chunk '" + std::string(name) + "' at byte 33 promises"));
        }
    }
}

TEST(HostileFiles, ConstantPicturesOfFullCompressionAreNoPromiseTooMuch) {
    const TemporaryFolder folder;
    for (const VoxelTypes type : {RIX_UINT8, RIX_FLOAT64}) {
        MemoryImage image;
        ASSERT_TRUE(image.reserve(type, 3000, 2000, 1, 1, 1));
        std::memset(image.getInternalBuffer(), 0, 6000000 * helper::getSizeOf(type));
        for (const Compression compression : {Compression::Deflate, Compression::Lzw}) {
            writeImage(folder / "image.tif", image, {.compression = compression});
            EXPECT_NO_THROW(readImage(folder / "image.tif"));
            EXPECT_LT(std::filesystem::file_size(folder / "image.tif"), 6000000U * helper::getSizeOf(type) / 50);
        }
        if (type == RIX_UINT8) {
            writeImage(folder / "image.png", image);
            EXPECT_NO_THROW(readImage(folder / "image.png"));
        }
    }
}

TEST(HostileFiles, PagesThatShareTheirSamples) {
    TiffBytes bytes;
    for (int page = 0; page < 1000; ++page) {  // 64 KiB of samples each, all the same ones
        bytes.directory({{TIFFTAG_IMAGEWIDTH, 256},
                         {TIFFTAG_IMAGELENGTH, 256},
                         {TIFFTAG_BITSPERSAMPLE, 8},
                         {TIFFTAG_COMPRESSION, COMPRESSION_NONE},
                         {TIFFTAG_STRIPOFFSETS, 8},
                         {TIFFTAG_STRIPBYTECOUNTS, 65536}});
    }
    Victim victim;
    EXPECT_FALSE(victim.survives(bytes.end(), "shared"));
    EXPECT_THAT(victim.lastText(), HasSubstr("The pages promise more bytes of samples"));
}

TEST(HostileFiles, TagsThatNameTheSameBytes) {
    // 4000 unknown tags, each of which says that the whole file is its value: kept, they would need 4000 times it.
    std::vector<TiffBytes::Field> fields{
        {TIFFTAG_IMAGEWIDTH, 1}, {TIFFTAG_IMAGELENGTH, 1}, {TIFFTAG_STRIPOFFSETS, 8}, {TIFFTAG_STRIPBYTECOUNTS, 1}};
    for (std::uint32_t tag = 0; tag < 4000; ++tag) {
        fields.push_back({40000 + tag, 0, TIFF_BYTE, 1000000});
    }
    TiffBytes bytes;
    bytes.directory(fields);
    Victim victim;
    const ScarceMemory scarce(128 * MiB);
    EXPECT_FALSE(victim.survives(bytes.end(1000000), "tags"));
    EXPECT_THAT(victim.lastText(), HasSubstr("again and again"));
}

TEST(HostileFiles, DirectoriesInACircle) {
    std::string content = tiffOfFields({{TIFFTAG_IMAGEWIDTH, 4},
                                        {TIFFTAG_IMAGELENGTH, 4},
                                        {TIFFTAG_BITSPERSAMPLE, 8},
                                        {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK},
                                        {TIFFTAG_STRIPOFFSETS, 8},
                                        {TIFFTAG_STRIPBYTECOUNTS, 16}});
    Victim victim;
    ASSERT_TRUE(victim.survives(content, "sound")) << victim.lastText();
    content[8 + 2 + 6 * 12] = 8;  // the next directory is this one
    EXPECT_FALSE(victim.survives(content, "circle"));
}

TEST(HostileFiles, WhatIsNoImageFile) {
    const TemporaryFolder folder;
    putContent(folder / "empty.tif", "");
    putContent(folder / "text.tif", "this is no picture");
    putContent(folder / "short.png", "\x89PNG");
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
    struct Case {
        std::filesystem::path path;
        const char* reason;
    };
    for (const Case& c :
         {Case{folder / "missing.tif", "The file does not exist."}, Case{folder / "empty.tif", "The file is empty."},
          Case{folder.path(), "This is a folder, not an image file."},
          Case{folder / "pipe", "This is not a regular file."},
          Case{folder / "text.tif/x", "The file cannot be opened: Not a directory."},
          Case{folder / "text.tif", "of no format that is known. Known are TIFF (.tif, .tiff), OME-TIFF (.ome.tif"},
          Case{folder / "short.png", "of no format that is known"}}) {
        const std::string text = textOf<LoadingError>([&] { readImage(c.path); });
        EXPECT_EQ(text.rfind("Cannot read the image file '" + c.path.string() + "'.", 0), 0U);
        EXPECT_THAT(text, HasSubstr(c.reason));
        EXPECT_EQ(text, textOf<LoadingError>([&] { readImageInfo(c.path); }));
    }
}

}  // namespace
}  // namespace rix::io::test
