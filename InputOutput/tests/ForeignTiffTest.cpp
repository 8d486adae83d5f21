// TIFF files as other programs write them.

#include "ForeignTiff.h"

namespace rix::io::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST_F(ForeignTiff, PackedSamplesKeepTheirValues) {
    struct Case {
        int bits;
        Bytes rows;  // two rows of three pixels, each filled up to a whole byte
        std::vector<int> samples;
    };
    for (const Case& c :
         {Case{1, {0b10100000, 0b01100000}, {1, 0, 1, 0, 1, 1}}, Case{2, {0b11100100, 0b00011000}, {3, 2, 1, 0, 1, 2}},
          Case{4, {0x1F, 0x80, 0x07, 0xA0}, {1, 15, 8, 0, 7, 10}},
          Case{6, {0b11111100, 0b00010000, 0b11000000, 0, 0, 0}, {63, 1, 3, 0, 0, 0}},
          Case{12,
               {0x12, 0x3F, 0xFF, 0x00, 0x10, 0xAB, 0xCD, 0xE0, 0x08, 0x00},
               {0x123, 0xFFF, 0x001, 0xABC, 0xDE0, 0x080}}}) {
        RawTiff(m_path).page(3, 2, c.bits).block(0, c.rows);
        const std::vector<int> read = [&] {
            if (c.bits < 8) {
                const auto samples = this->read<std::uint8_t>();
                return std::vector<int>(samples.begin(), samples.end());
            }
            const auto samples = this->read<std::uint16_t>();
            return std::vector<int>(samples.begin(), samples.end());
        }();
        EXPECT_EQ(read, c.samples) << c.bits;
        EXPECT_EQ(readImageInfo(m_path).interpretation, c.bits == 1 ? RIX_BINARY : RIX_VALUE);
    }
}

TEST_F(ForeignTiff, MinIsWhiteIsTurnedOver) {
    RawTiff(m_path).page(3, 1, 1, 1, PHOTOMETRIC_MINISWHITE).block(0, Bytes{0b10100000});
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(0, 1, 0));
    RawTiff(m_path).page(3, 1, 4, 1, PHOTOMETRIC_MINISWHITE).block(0, Bytes{0x0F, 0x30});
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(15, 0, 12));
    RawTiff(m_path).page(2, 1, 16, 1, PHOTOMETRIC_MINISWHITE).block(0, std::vector<std::uint16_t>{1, 65535});
    EXPECT_THAT(read<std::uint16_t>(), ElementsAre(65534, 0));
    RawTiff(m_path).page(2, 1, 32, 1, PHOTOMETRIC_MINISWHITE).block(0, std::vector<std::uint32_t>{1, 4294967295U});
    EXPECT_THAT(read<std::uint32_t>(), ElementsAre(4294967294U, 0U));
    RawTiff(m_path)
        .page(2, 1, 16, 1, PHOTOMETRIC_MINISWHITE, SAMPLEFORMAT_INT)
        .block(0, std::vector<std::int16_t>{-1, 7});
    EXPECT_THAT(read<std::int16_t>(), ElementsAre(-1, 7));
}

TEST_F(ForeignTiff, PalettesBecomeColours) {
    std::vector<std::uint16_t> red(16), green(16), blue(16);
    for (std::size_t i = 0; i < 16; ++i) {
        red[i] = static_cast<std::uint16_t>(i * 0x1111);
        green[i] = static_cast<std::uint16_t>(i << 8U);
        blue[i] = static_cast<std::uint16_t>((15 - i) * 0x1111);
    }
    const auto writePalette = [&] {
        RawTiff(m_path)
            .page(3, 1, 4, 1, PHOTOMETRIC_PALETTE)
            .set(TIFFTAG_COLORMAP, red.data(), green.data(), blue.data())
            .block(0, Bytes{0x0F, 0x30});
    };
    writePalette();
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(0, 0xFF, 0x33, 0, 15, 3, 0xFF, 0, 0xCC));
    const auto image = readImage(m_path);
    EXPECT_EQ(image->getColorInterpretation(), RGB);
    EXPECT_EQ(extentsOf(*image), (Extents{3, 1, 1, 1, 3}));
    red[3] = 0x1234;  // no colour of 8 bits
    writePalette();
    EXPECT_THAT(read<std::uint16_t>(), ElementsAre(0, 0xFFFF, 0x1234, 0, 15 << 8, 3 << 8, 0xFFFF, 0, 0xCCCC));
}

TEST_F(ForeignTiff, BothPlanarConfigurationsTilesAndByteOrders) {
    // A picture of 20 x 18 pixels and 3 channels, in which every sample tells its place.
    const auto sampleAt = [](std::size_t x, std::size_t y, std::size_t c) {
        return static_cast<std::uint16_t>(x + 100 * y + 10000 * c);
    };
    for (const bool tiled : {false, true}) {
        for (const bool separate : {false, true}) {
            for (const char* mode : {"wl", "wb", "wb8"}) {
                {
                    RawTiff raw(m_path, mode);
                    raw.page(20, 18, 16, 3, PHOTOMETRIC_RGB)
                        .set(TIFFTAG_PLANARCONFIG, separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
                    std::size_t columns = 20;
                    std::size_t rows = 7;
                    if (tiled) {
                        TIFFUnsetField(raw.get(), TIFFTAG_ROWSPERSTRIP);
                        raw.set(TIFFTAG_TILEWIDTH, 16).set(TIFFTAG_TILELENGTH, 16);
                        columns = rows = 16;
                    } else {
                        raw.set(TIFFTAG_ROWSPERSTRIP, 7);
                    }
                    std::uint32_t index = 0;
                    for (std::size_t plane = 0; plane < (separate ? 3U : 1U); ++plane) {
                        for (std::size_t y0 = 0; y0 < 18; y0 += rows) {
                            for (std::size_t x0 = 0; x0 < 20; x0 += columns) {
                                std::vector<std::uint16_t> block;
                                for (std::size_t y = y0; y < (tiled ? y0 + rows : std::min(y0 + rows, 18UL)); ++y) {
                                    for (std::size_t x = x0; x < x0 + columns; ++x) {
                                        for (std::size_t c = plane; c < (separate ? plane + 1 : 3); ++c) {
                                            block.push_back(sampleAt(x, y, c));
                                        }
                                    }
                                }
                                raw.block(index++, block);
                            }
                        }
                    }
                }
                const auto samples = read<std::uint16_t>();
                ASSERT_EQ(samples.size(), 20U * 18U * 3U);
                std::size_t wrong = 0;
                for (std::size_t i = 0; i < samples.size(); ++i) {
                    wrong += samples[i] != sampleAt(i % 20, i / 20 % 18, i / 360) ? 1U : 0U;
                }
                EXPECT_EQ(wrong, 0U) << mode << (tiled ? " tiled" : "") << (separate ? " separate" : "");
            }
        }
    }
}

TEST_F(ForeignTiff, BigEndianSamplesOfAllSizes) {
    RawTiff(m_path, "wb")
        .page(2, 1, 64, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_COMPLEXIEEEFP)
        .block(0, std::vector<float>{1.0F, 2.0F, -3.5F, 4.25F});
    EXPECT_EQ(readImageInfo(m_path).voxelType, RIX_COMPLEX_FLOAT32);
    const auto image = readImage(m_path);
    std::array<float, 4> floats{};
    std::memcpy(floats.data(), image->getInternalBuffer(), sizeof(floats));
    EXPECT_THAT(floats, ElementsAre(1.0F, 2.0F, -3.5F, 4.25F));
    RawTiff(m_path, "wb")
        .page(1, 1, 128, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_COMPLEXIEEEFP)
        .block(0, std::vector<double>{0.1, -7.0});
    std::array<double, 2> doubles{};
    std::memcpy(doubles.data(), readImage(m_path)->getInternalBuffer(), sizeof(doubles));
    EXPECT_THAT(doubles, ElementsAre(0.1, -7.0));
    RawTiff(m_path, "wb")
        .page(2, 1, 64, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_IEEEFP)
        .block(0, std::vector<double>{0.1, std::nextafter(1.0, 2.0)});
    EXPECT_THAT(read<double>(), ElementsAre(0.1, std::nextafter(1.0, 2.0)));
}

TEST_F(ForeignTiff, OrientationsAreUndone) {
    struct Case {
        int orientation;
        Bytes samples;
    };
    for (const Case& c :
         {Case{ORIENTATION_TOPLEFT, {1, 2, 3, 4, 5, 6}}, Case{ORIENTATION_TOPRIGHT, {3, 2, 1, 6, 5, 4}},
          Case{ORIENTATION_BOTRIGHT, {6, 5, 4, 3, 2, 1}}, Case{ORIENTATION_BOTLEFT, {4, 5, 6, 1, 2, 3}}}) {
        RawTiff(m_path).page(3, 2, 8).set(TIFFTAG_ORIENTATION, c.orientation).block(0, Bytes{1, 2, 3, 4, 5, 6});
        EXPECT_EQ(read<std::uint8_t>(), c.samples) << c.orientation;
    }
    Bytes tiles[2] = {Bytes(256), Bytes(256)};
    tiles[0][0] = 1;
    tiles[1][3] = 2;  // the last column of 20
    RawTiff raw(m_path);
    raw.page(20, 1, 8).set(TIFFTAG_ORIENTATION, ORIENTATION_TOPRIGHT);
    TIFFUnsetField(raw.get(), TIFFTAG_ROWSPERSTRIP);
    raw.set(TIFFTAG_TILEWIDTH, 16).set(TIFFTAG_TILELENGTH, 16).block(0, tiles[0]).block(1, tiles[1]).endPage();
    const auto samples = read<std::uint8_t>();
    EXPECT_EQ(samples[19], 1);
    EXPECT_EQ(samples[0], 2);
}

TEST_F(ForeignTiff, KindsThatAreNotSupportedAreRefusedByName) {
    struct Case {
        const char* text;
        void (*write)(RawTiff&);
    };
    const auto cases = {
        Case{"24 bits, floating-point",
             [](RawTiff& raw) {
                 raw.page(1, 1, 24, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_IEEEFP).block(0, Bytes(3));
             }},
        Case{"24 bits, unsigned integer", [](RawTiff& raw) { raw.page(1, 1, 24).block(0, Bytes(3)); }},
        Case{"32 bits, complex integer",
             [](RawTiff& raw) {
                 raw.page(1, 1, 32, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_COMPLEXINT).block(0, Bytes(4));
             }},
        Case{"inks (CMYK)", [](RawTiff& raw) { raw.page(1, 1, 8, 4, PHOTOMETRIC_SEPARATED).block(0, Bytes(4)); }},
        Case{"CIE L*a*b*", [](RawTiff& raw) { raw.page(1, 1, 8, 3, PHOTOMETRIC_CIELAB).block(0, Bytes(3)); }},
        Case{"orientation 6",
             [](RawTiff& raw) { raw.page(2, 1, 8).set(TIFFTAG_ORIENTATION, ORIENTATION_RIGHTTOP).block(0, Bytes(2)); }},
        Case{"page 1 is 1 x 2 of 1 x uint8, page 2 is 2 x 1 of 1 x uint8",
             [](RawTiff& raw) {
                 raw.page(1, 2, 8).block(0, Bytes(2)).endPage();
                 raw.page(2, 1, 8).block(0, Bytes(2));
             }},
        Case{"page 2 is 2 x 1 of 1 x int8",
             [](RawTiff& raw) {
                 raw.page(2, 1, 8).block(0, Bytes(2)).endPage();
                 raw.page(2, 1, 8, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_INT).block(0, Bytes(2));
             }},
    };
    for (const Case& c : cases) {
        {
            RawTiff raw(m_path);
            c.write(raw);
        }
        EXPECT_THAT(refusal(), HasSubstr(c.text));
    }
}

TEST_F(ForeignTiff, AlphaAndManySamplesGoToTheSpectralAxis) {
    struct Case {
        int samples;
        int photometric;
        ColorInterpretation color;
    };
    for (const Case& c : {Case{2, PHOTOMETRIC_MINISBLACK, UNKNOWN}, Case{4, PHOTOMETRIC_RGB, RGB},
                          Case{5, PHOTOMETRIC_RGB, UNKNOWN}, Case{7, PHOTOMETRIC_MINISBLACK, UNKNOWN}}) {
        Bytes pixels(static_cast<std::size_t>(2 * c.samples));
        for (std::size_t i = 0; i < pixels.size(); ++i) {
            pixels[i] = static_cast<std::uint8_t>(i);
        }
        RawTiff(m_path).page(2, 1, 8, c.samples, c.photometric).block(0, pixels);
        const auto image = readImage(m_path);
        EXPECT_EQ(image->getNumOf(SPECTRAL_SERIES), static_cast<std::size_t>(c.samples));
        EXPECT_EQ(image->getColorInterpretation(), c.color);
        EXPECT_EQ(samplesOf<std::uint8_t>(*image)[3], c.samples + 1);  // second channel, second pixel
    }
}

TEST_F(ForeignTiff, LossyAndOldCompressionsAreRead) {
    RawTiff(m_path)
        .page(16, 16, 8, 3, PHOTOMETRIC_YCBCR)
        .set(TIFFTAG_COMPRESSION, COMPRESSION_JPEG)
        .set(TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB)
        .block(0, [] {
            Bytes pixels;
            for (int i = 0; i < 256; ++i) {
                pixels.insert(pixels.end(), {200, 100, 50});
            }
            return pixels;
        }());
    const auto image = readImage(m_path);
    EXPECT_EQ(image->getColorInterpretation(), RGB);
    const auto samples = samplesOf<std::uint8_t>(*image);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        EXPECT_NEAR(samples[256 * channel + 100], (std::array{200, 100, 50})[channel], 3);
    }
    RawTiff(m_path)
        .page(16, 2, 1, 1, PHOTOMETRIC_MINISWHITE)
        .set(TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4)
        .block(0, Bytes{0x00, 0xFF, 0xF0, 0x0F});
    EXPECT_EQ(read<std::uint8_t>()[0], 1);
    EXPECT_EQ(read<std::uint8_t>()[8], 0);
    EXPECT_EQ(read<std::uint8_t>()[16], 0);
    for (const int compression :
         {COMPRESSION_PACKBITS, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_ZSTD, COMPRESSION_LZMA}) {
        RawTiff(m_path).page(4, 1, 8).set(TIFFTAG_COMPRESSION, compression).block(0, Bytes{7, 7, 7, 9});
        EXPECT_THAT(read<std::uint8_t>(), ElementsAre(7, 7, 7, 9)) << compression;
    }
}

TEST_F(ForeignTiff, ResolutionIsCalibrationWithoutImageJ) {
    struct Case {
        int unit;
        double x, y;
        double spacingX, spacingY;
        const char* unitName;
    };
    for (const Case& c :
         {Case{RESUNIT_INCH, 254.0, 127.0, 0.1, 0.2, "mm"}, Case{RESUNIT_CENTIMETER, 10.0, 40.0, 1.0, 0.25, "mm"},
          Case{RESUNIT_NONE, 2.0, 4.0, 0.5, 0.25, ""}, Case{RESUNIT_INCH, 0.0, 1.0, 1.0, 1.0, ""}}) {
        RawTiff(m_path)
            .page(1, 1, 8)
            .set(TIFFTAG_XRESOLUTION, c.x)
            .set(TIFFTAG_YRESOLUTION, c.y)
            .set(TIFFTAG_RESOLUTIONUNIT, c.unit)
            .block(0, Bytes{0});
        const ImageFileInfo info = readImageInfo(m_path);
        EXPECT_NEAR(info.spacing[COLUMNS], c.spacingX, 1e-6);
        EXPECT_NEAR(info.spacing[ROWS], c.spacingY, 1e-6);
        EXPECT_EQ(info.spatialUnitName, c.unitName);
    }
    RawTiff(m_path).page(1, 1, 8).block(0, Bytes{0});
    EXPECT_EQ(readImageInfo(m_path).spacing, (std::array<double, 5>{1, 1, 1, 1, 1}));
}

TEST_F(ForeignTiff, PagesOfDifferentBitsKeepTheirValues) {
    for (const bool binaryFirst : {true, false}) {
        {
            RawTiff raw(m_path);
            const auto writeBinary = [&] { raw.page(3, 1, 1).block(0, Bytes{0b10100000}).endPage(); };
            binaryFirst ? writeBinary() : void();
            raw.page(3, 1, 8).block(0, Bytes{0, 7, 200}).endPage();
            binaryFirst ? void() : writeBinary();
        }
        EXPECT_EQ(read<std::uint8_t>(), binaryFirst ? (Bytes{1, 0, 1, 0, 7, 200}) : (Bytes{0, 7, 200, 1, 0, 1}));
        EXPECT_EQ(readImageInfo(m_path).interpretation, RIX_VALUE);
        EXPECT_EQ(readImage(m_path)->getInterpretation(), RIX_VALUE);
    }
}

TEST_F(ForeignTiff, TypesThatImagesDoNotHaveBecomeOnesThatTheyHave) {
    // Zeros of both signs, the least and the largest below the normal numbers, 1, -2, the largest, infinity, NaN.
    RawTiff(m_path, "wb")
        .page(9, 1, 16, 1, PHOTOMETRIC_MINISBLACK, SAMPLEFORMAT_IEEEFP)
        .block(0, std::vector<std::uint16_t>{0, 0x8000, 1, 0x3FF, 0x3C00, 0xC000, 0x7BFF, 0x7C00, 0x7E00});
    const auto halves = read<float>();
    EXPECT_THAT(std::vector(halves.begin(), halves.end() - 1),
                ElementsAre(0.0F, -0.0F, 0x1p-24F, 1023 * 0x1p-24F, 1.0F, -2.0F, 65504.0F,
                            std::numeric_limits<float>::infinity()));
    EXPECT_TRUE(std::signbit(halves[1]) && std::isnan(halves[8]));
    const auto writeLong = [&](std::int64_t value, int format) {
        RawTiff(m_path).page(2, 1, 64, 1, PHOTOMETRIC_MINISBLACK, format).block(0, std::vector<std::int64_t>{5, value});
    };
    writeLong(-2147483648LL, SAMPLEFORMAT_INT);
    EXPECT_THAT(read<std::int32_t>(), ElementsAre(5, std::numeric_limits<std::int32_t>::min()));
    writeLong(4294967295LL, SAMPLEFORMAT_UINT);
    EXPECT_THAT(read<std::uint32_t>(), ElementsAre(5U, 4294967295U));
    writeLong(-2147483649LL, SAMPLEFORMAT_INT);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }),
                HasSubstr("among them -2147483649, which the largest type of an image cannot hold"));
    writeLong(4294967296LL, SAMPLEFORMAT_UINT);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(m_path); }), HasSubstr("among them 4294967296"));
}

TEST_F(ForeignTiff, ReducedCopiesArePassedOver) {
    {
        RawTiff raw(m_path);
        raw.page(4, 1, 8).block(0, Bytes{1, 2, 3, 4}).endPage();
        raw.page(2, 1, 8).set(TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE).block(0, Bytes{1, 3}).endPage();
        raw.page(4, 1, 8).block(0, Bytes{5, 6, 7, 8}).endPage();
        raw.page(4, 1, 1).set(TIFFTAG_SUBFILETYPE, FILETYPE_MASK).block(0, Bytes{0xF0}).endPage();
    }
    EXPECT_THAT(read<std::uint8_t>(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

}  // namespace
}  // namespace rix::io::test
