// Files without a header: words that tell what they hold.

#include "TestImages.h"

namespace rix::io::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

TEST(RawFiles, AreReadBackWithTheWordsThatWritingTells) {
    const TemporaryFolder folder;
    unsigned seed = 0;
    for (const VoxelTypes type : rix::test::allTypes) {
        for (const Extents& shape : {Extents{7, 5, 1, 1, 1}, Extents{7, 5, 4, 1, 1}, Extents{7, 5, 1, 1, 3},
                                     Extents{6, 5, 4, 3, 2}, Extents{1, 1, 1, 1, 1}}) {
            MemoryImage image = randomImage(type, shape, ++seed);
            interpret(image, seed % 3 == 0 ? RIX_BINARY : seed % 3 == 1 ? RIX_LABEL : RIX_VALUE);
            helper::setLabelScope(image, LabelScope::Volume);  // there is no word for the other
            image.setColorInterpretation(shape[4] == 3 ? RGB : UNKNOWN);
            if (seed % 2 == 0) {
                image.setSpacingOf(ROWS, 0.1);
                image.setSpatialUnitName("µm");
            }
            writeImage(folder / "a.raw", image);
            EXPECT_EQ(std::filesystem::file_size(folder / "a.raw"),
                      shape[0] * shape[1] * shape[2] * shape[3] * shape[4] * helper::getSizeOf(type));
            const String words = neededSelection(folder / "a.raw", image);
            ASSERT_EQ(difference(image, *readImage(folder / "a.raw", {.selection = parseSelection(words)})), "")
                << words;
        }
    }
    EXPECT_EQ(neededSelection("a.tif", randomImage(RIX_UINT8, {1, 1, 1, 1, 1})), "");
    MemoryImage image = randomImage(RIX_UINT16, {640, 480, 1, 1, 3});
    image.setColorInterpretation(RGB);
    image.setSpacingOf(COLUMNS, 0.5);
    image.setSpatialUnitName("mm");
    EXPECT_EQ(neededSelection("a.raw", image),
              "type=uint16,size=640x480x1x1x3,endian=little,spacing=0.5x1x1,unit=mm,color=rgb");
    image.setOriginOf(ROWS, 2.0);
    EXPECT_THAT(textOf<WritingError>([&] { writeImage(folder / "a.raw", image); }),
                HasSubstr("Raw has no place for what is known of the image: origin."));
}

TEST(RawFiles, AreWhatTheWordsSay) {
    const TemporaryFolder folder;
    std::string bytes = "head";
    for (int i = 0; i < 24; ++i) {
        bytes += static_cast<char>(i);
    }
    putContent(folder / "a.bin", bytes);
    const auto read = [&](const std::string& words) { return readImage(folder / "a.bin", selecting(words)); };
    struct Case {
        const char* words;
        Extents extents;
        std::vector<std::uint8_t> first;  ///< samples in the order of the image
    };
    for (const Case& c : {Case{"type=uint8,size=4x3x2,offset=4", {4, 3, 2, 1, 1}, {0, 1, 2, 3, 4}},
                          Case{"type=uint8,size=4x3x2,offset=4,axes=tyx", {4, 3, 1, 2, 1}, {0, 1, 2, 3, 4}},
                          Case{"type=uint8,size=4x3x2,offset=4,axes=yxc", {4, 3, 1, 1, 2}, {0, 2, 4, 6, 8}},
                          Case{"type=uint8,offset=4,axes=y3x4c2", {4, 3, 1, 1, 2}, {0, 2, 4, 6, 8}},
                          Case{"type=uint8,offset=4,axes=y3c2x4", {4, 3, 1, 1, 2}, {0, 1, 2, 3, 8}},
                          Case{"type=uint8,offset=4,axes=zy3x4", {4, 3, 2, 1, 1}, {0, 1, 2, 3, 4}},
                          Case{"offset = 4, axes = xy3 , type = uint8", {8, 3, 1, 1, 1}, {0, 3, 6, 9, 12}},
                          Case{"type=uint8,offset=4,size=4x3x2,z=1,x=2:", {2, 3, 1, 1, 1}, {14, 15, 18, 19, 22}},
                          Case{"type=uint8,offset=4,size=24,meaning=binary", {24, 1, 1, 1, 1}, {0, 1, 1, 1, 1}}}) {
        const auto image = read(c.words);
        EXPECT_EQ(extentsOf(*image), c.extents) << c.words;
        auto samples = samplesOf<std::uint8_t>(*image);
        samples.resize(c.first.size());
        EXPECT_EQ(samples, c.first) << c.words;
        EXPECT_EQ(readImageInfo(folder / "a.bin", selecting(c.words)).extents, c.extents) << c.words;
    }
    EXPECT_EQ(samplesOf<std::uint16_t>(*read("type=uint16,size=2,offset=5"))[0], 0x0201);
    EXPECT_EQ(samplesOf<std::uint16_t>(*read("type=uint16,size=2,offset=5,endian=big"))[0], 0x0102);
    EXPECT_THAT(textOf<LoadingError>([&] { read("type=uint64,size=3,offset=4"); }), HasSubstr("506097522914230528"));
}

TEST(RawFiles, OfOtherSizesThanTheWordsSayAreToldWithBothNumbers) {
    const TemporaryFolder folder;
    putContent(folder / "a.raw", std::string(100, 'x'));
    const auto refusalOf = [&](const std::string& words) {
        const std::string text = textOf<LoadingError>([&] { readImage(folder / "a.raw", selecting(words)); });
        EXPECT_EQ(text, textOf<LoadingError>([&] { readImageInfo(folder / "a.raw", selecting(words)); }));
        return text;
    };
    EXPECT_THAT(
        refusalOf("type=uint16,size=10x6"),
        HasSubstr("'type=uint16,size=10x6' tells of samples of uint16, x=10 y=6, in 120 bytes; the file has 100 "
                  "bytes."));
    EXPECT_THAT(refusalOf("type=uint8,size=10x6,offset=41"), HasSubstr("60 bytes; the file has 59 bytes from byte 41"));
    EXPECT_THAT(refusalOf("type=uint8,size=1,offset=18446744073709551615"), HasSubstr("the file has 0 bytes"));
    EXPECT_THAT(refusalOf("type=uint8,axes=zy7x7"), HasSubstr("49 bytes for each of z; the file has 100 bytes, which"));
    EXPECT_THAT(refusalOf("type=uint8,axes=zy7x7,offset=100"), HasSubstr("the file has 0 bytes"));
    for (const char* huge : {"size=4294967296x4294967296", "size=18446744073709551615", "axes=z18446744073709551615yx8",
                             "size=65536x65536x65536x65536"}) {
        EXPECT_THAT(refusalOf("type=complex-float64," + std::string(huge)), HasSubstr("64 bits can count")) << huge;
    }
    EXPECT_THAT(refusalOf("type=uint8,size=1099511627776"), HasSubstr("1099511627776 bytes; the file has 100"));
    EXPECT_THAT(refusalOf("type=uint8,size=10x10,color=rgb"), HasSubstr("needs 3 or 4 channels, not 1"));

    // A file that is longer is doubtful: told, or refused where nobody is told.
    ReadOptions options = selecting("type=uint8,size=10x9");
    std::vector<String> warnings;
    options.warn = [&](const String& text) { warnings.push_back(text); };
    EXPECT_EQ(extentsOf(*readImage(folder / "a.raw", options)), (Extents{10, 9, 1, 1, 1}));
    EXPECT_THAT(warnings, ElementsAre(HasSubstr("90 bytes; the file has 100 bytes, of which the last 10 are passed")));
    options.warn = {};
    EXPECT_THROW(readImage(folder / "a.raw", options), LoadingError);
    EXPECT_THAT(textOf<LoadingError>([&] { readImage(folder / "a.raw"); }), HasSubstr("'a.raw[type=uint16,size="));
}

TEST(RawFiles, WordsThatMeanNothingSayWhatIsAccepted) {
    for (const auto& [text, message] : std::initializer_list<std::pair<const char*, const char*>>{
             {"type=double,size=1", "'type=double' is none of uint8, int8, "},
             {"type=uint8", "leaves the sizes open"},
             {"type=uint8,axes=zyx8", "leaves the sizes open"},
             {"size=4x4,offset=3",
              "'size=4x4,offset=3' tells of a file without a header, and not what its samples are"},
             {"type=uint8,size=4x0", "takes the numbers of columns, rows"},
             {"type=uint8,size=1x1x1x1x1x1", "takes the numbers of columns, rows"},
             {"type=uint8,size=-4x4", "takes the numbers of columns, rows"},
             {"type=uint8,size=4x4,axes=y4x4", "One of both is enough"},
             {"type=uint8,size=4x4x4,axes=yx", "names 2 axes, size= has 3 numbers"},
             {"type=uint8,size=4,type=uint8", "comes after another one of type"},
             {"type=uint8,size=4,endian=middle", "is none of little, big"},
             {"type=uint8,size=4,offset=-1", "takes the number of bytes before"},
             {"type=uint8,size=4,spacing=0", "takes a spacing for all axes"},
             {"type=uint8,size=4,meaning=mask", "is none of value, binary, label"},
             {"type=uint8,size=4,color=red", "is none of rgb"}}) {
        EXPECT_THAT(textOf<SerializationException>([&, given = text] { parseSelection(given); }), HasSubstr(message));
    }
    const Selection selection = parseSelection("type=uint8,size=4,spacing=0.5x0.25,unit=mm");
    EXPECT_THAT(selection.raw.value().spacing, ElementsAre(0.5, 0.25));
}

}  // namespace
}  // namespace rix::io::test
