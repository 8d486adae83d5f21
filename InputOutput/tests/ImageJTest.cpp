// TIFF stacks as ImageJ writes them.

#include "ForeignTiff.h"

namespace rix::io::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using ImageJ = ForeignTiff;

TEST_F(ImageJ, Stacks) {
    struct Case {
        const char* description;
        int pages;
        Extents extents;
    };
    for (const Case& c : {
             Case{"ImageJ=1.53t\nimages=12\nchannels=2\nslices=3\nframes=2\nhyperstack=true\n", 12, {1, 1, 3, 2, 2}},
             Case{"ImageJ=1.53t\nimages=12\nslices=12\n", 12, {1, 1, 12, 1, 1}},
             Case{"ImageJ=1.53t\nimages=12\nframes=12\n", 12, {1, 1, 1, 12, 1}},
             Case{"ImageJ=1.53t\nimages=12\n", 12, {1, 1, 12, 1, 1}},
             Case{"ImageJ=1.53t\nchannels=2\nslices=6\norder=zct\n", 12, {1, 1, 6, 1, 2}},
             Case{"ImageJ=1.53t\nslices=5\n", 12, {1, 1, 12, 1, 1}},  // contradicts the pages
             Case{"ImageJ=1.53t\nslices=0\n", 12, {1, 1, 12, 1, 1}},
             Case{"ImageJ=1.53t\nimages=12\nslices=12\n", 1, {1, 1, 1, 1, 1}},  // one page of a stack
             Case{"channels=12\n", 12, {1, 1, 12, 1, 1}},                       // not ImageJ's
             Case{"ImageJ=1\nslices=4294967296\nframes=4294967296\nchannels=12", 12, {1, 1, 12, 1, 1}},
         }) {
        writePages(c.pages, c.description);
        const auto image = readImage(m_path);
        EXPECT_EQ(extentsOf(*image), c.extents) << c.description;
        if (c.extents[2] == 6) {  // page = slice + 6 * channel
            EXPECT_THAT(samplesOf<std::uint8_t>(*image), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
        } else if (c.extents[4] == 2) {  // page = channel + 2 * (slice + 3 * frame)
            EXPECT_THAT(samplesOf<std::uint8_t>(*image), ElementsAre(0, 2, 4, 6, 8, 10, 1, 3, 5, 7, 9, 11));
        }
    }
    RawTiff(m_path)
        .page(1000, 1, 8)
        .set(TIFFTAG_IMAGEDESCRIPTION, "ImageJ=1.53t\nimages=5000000\n")
        .block(0, Bytes(1000));
    EXPECT_THAT(refusal(), HasSubstr("promises more pages of 1000 bytes than the file holds"));
}

TEST_F(ImageJ, Calibration) {
    RawTiff(m_path)
        .page(1, 1, 8)
        .set(TIFFTAG_XRESOLUTION, 4.0)
        .set(TIFFTAG_YRESOLUTION, 2.0)
        .set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE)
        .set(TIFFTAG_IMAGEDESCRIPTION,
             "ImageJ=1.53t\nunit=\\u00B5m\nspacing=-2.5\nfps=4\nxorigin=10\nzorigin=1\nmin=0.0\n")
        .block(0, Bytes{0});
    const ImageFileInfo info = readImageInfo(m_path);
    EXPECT_EQ(info.spacing, (std::array<double, 5>{0.25, 0.5, 2.5, 0.25, 1.0}));
    EXPECT_EQ(info.origin, (std::array<double, 5>{-2.5, 0.0, -2.5, 0.0, 0.0}));
    EXPECT_EQ(info.spatialUnitName, "µm");
    EXPECT_EQ(info.sequenceUnitName, "sec");
    RawTiff(m_path).page(1, 1, 8).set(TIFFTAG_IMAGEDESCRIPTION, "ImageJ=1.53t\nunit=  \ntunit= \n").block(0, Bytes{0});
    EXPECT_EQ(readImageInfo(m_path).spatialUnitName, "");
    EXPECT_EQ(readImageInfo(m_path).sequenceUnitName, "");
}

// ImageJ leaves the directories out of stacks past 4 GiB; the samples follow the first page.
TEST_F(ImageJ, StackWithoutDirectories) {
    for (const char* mode : {"wl", "wb"}) {
        RawTiff(m_path, mode)
            .page(3, 2, 16)
            .set(TIFFTAG_IMAGEDESCRIPTION, "ImageJ=1.53t\nimages=4\nchannels=2\nframes=2\n")
            .block(0, std::vector<std::uint16_t>{1, 2, 3, 4, 5, 6})
            .endPage();
        // The directory has to come before the samples for that: they are moved to the end.
        std::string content = contentOf(m_path);
        const auto begin = static_cast<std::uint32_t>(content.size());
        std::uint64_t offset = 0;
        {
            RawTiff raw(m_path, "r");
            offset = TIFFGetStrileOffset(raw.get(), 0);
        }
        const auto number = [&](std::uint32_t value) {
            std::string text(4, '\0');
            for (unsigned i = 0; i < 4; ++i) {
                text[mode[1] == 'l' ? i : 3 - i] = static_cast<char>(static_cast<std::uint8_t>(value >> (8 * i)));
            }
            return text;
        };
        const std::string tag = mode[1] == 'l' ? std::string("\x11\x01", 2) : std::string("\x01\x11", 2);
        const std::size_t entry = content.find(tag);
        ASSERT_NE(entry, std::string::npos);
        ASSERT_EQ(content.substr(entry + 4, 4), number(1));
        ASSERT_EQ(offset, 8U);
        const bool isShort = content[entry + (mode[1] == 'l' ? 2 : 3)] == 3;
        ASSERT_FALSE(isShort) << "the test writes offsets of 32 bits";
        content.replace(entry + 8, 4, number(begin));
        for (int value = 1; value <= 24; ++value) {
            content += mode[1] == 'l' ? std::string{static_cast<char>(value), '\0'}
                                      : std::string{'\0', static_cast<char>(value)};
        }
        putContent(m_path, content);
        const auto image = readImage(m_path);
        EXPECT_EQ(extentsOf(*image), (Extents{3, 2, 1, 2, 2}));
        const auto samples = samplesOf<std::uint16_t>(*image);
        EXPECT_EQ(samples[0], 1);   // channel 0, frame 0: page 0
        EXPECT_EQ(samples[6], 13);  // channel 0, frame 1: page 2
        EXPECT_EQ(samples[12], 7);  // channel 1, frame 0: page 1
        EXPECT_EQ(samples[23], 24);
        putContent(m_path, content.substr(0, content.size() - 1));
        EXPECT_EQ(extentsOf(*readImage(m_path)), (Extents{3, 2, 1, 1, 1}));  // one page of a stack
    }
}

}  // namespace
}  // namespace rix::io::test
